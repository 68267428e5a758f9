// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <velmar_embedded/schema/MofError.h>

namespace velmar_embedded {

namespace {

const char* remedy(MofMistake mistake, bool choosesNamespace) {
    switch (mistake) {
        case MofMistake::Other:
        case MofMistake::Unreadable:
            return "";
        case MofMistake::AlreadyExists:
            return "; it is declared before. Where two files or two packages in one folder bring "
                   "it, name those to take with --schema, in order";
        default:
            break;
    }
    if (choosesNamespace) {
        return "; mind the #pragma namespace: what other namespaces declare is not seen there";
    }
    switch (mistake) {
        case MofMistake::UnknownQualifier:
            return "; declare it, or include what does: the standard ones are in "
                   "share/velmar_remote/mof/Qualifiers.mof, and velmar new adds them";
        case MofMistake::UnknownSuperclass:
            return "; a superclass is declared before its subclasses: is a file missing, or is it "
                   "the order?";
        default:
            return "; declare the class before its instances";
    }
}

}  // namespace

MofError::MofError(const std::string& file, const MofFault& fault, bool choosesNamespace)
    : std::runtime_error(file + ":" + std::to_string(fault.line()) + ": " + fault.what() +
                         remedy(fault.mistake(), choosesNamespace)),
      _file(file),
      _fault(fault) {}

}  // namespace velmar_embedded
