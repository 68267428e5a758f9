// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Writes a namespace of any CIM server as MOF (DMTF DSP0004) that the embedded server compiles.
//
// Not thread-safe.
#ifndef VELMAR_RECORD_RECORDER_H
#define VELMAR_RECORD_RECORDER_H

#include <string>
#include <vector>

#include "record/NamespaceReader.h"

namespace velmar_recording {

struct RecordOptions {
    std::string source;  ///< what the recording's head says it was read from
    /// MOF that declares standard qualifiers. Clients get no declarations: scopes and default
    /// values of these come from here, those of others from their uses.
    std::string standardQualifiers;
    Progress progress;
};

struct Recording {
    std::string file;  ///< includes the others
    size_t classes = 0;
    size_t instances = 0;
    /// What is not in it, or not as the server has it, and why; a line each.
    std::vector<std::string> notes;
};

/// Writes recording.mof, qualifiers.mof, classes.mof and instances.mof into a folder that is empty
/// or does not exist. Each declaration was compiled before it is written. Throws
/// std::runtime_error for another folder or a file that cannot be written, and as readNamespace;
/// then the files are removed.
Recording record(Pegasus::CIMClient& client, const Pegasus::CIMNamespaceName& nameSpace,
                 const std::string& folder, const RecordOptions& options);

}  // namespace velmar_recording

#endif
