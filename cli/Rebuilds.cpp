// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Rebuilds.h"

#include <unistd.h>

#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace velmar_cli {

Rebuilds::Rebuilds(const Package& package) : _package(package), _first(look()), _last(_first) {}

Rebuilds::Stamps Rebuilds::look() const {
    Stamps stamps;
    const auto note = [&](const fs::path& file) {
        std::error_code failed;
        const Stamp stamp = {fs::last_write_time(file, failed), fs::file_size(file, failed)};
        if (!failed) {
            stamps[file.string()] = stamp;
        }
    };
    for (const auto* list : {&_package.schemas, &_package.registrations}) {
        for (const std::string& file : *list) {
            note(file);
        }
    }
    for (const std::string& folder : _package.modules) {
        std::error_code ignored;
        for (const auto& entry : fs::directory_iterator(folder, ignored)) {
            if (entry.path().extension() == ".so") {
                note(entry.path());
            }
        }
    }
    return stamps;
}

std::string Rebuilds::changed() {
    const Stamps now = look();
    const bool isSettled = now == _last;
    _last = now;
    for (const auto& [file, stamp] : now) {
        const auto before = _first.find(file);
        if (isSettled && (before == _first.end() || before->second != stamp)) {
            return file;
        }
    }
    return "";
}

void Rebuilds::startAgain(const std::vector<std::string>& more) {
    std::ifstream in("/proc/self/cmdline", std::ios::binary);
    const std::string line{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    std::vector<std::string> words;
    for (size_t from = 0; from < line.size(); from = line.find('\0', from) + 1) {
        words.emplace_back(line.c_str() + from);
    }
    words.insert(words.end(), more.begin(), more.end());
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    execv("/proc/self/exe", arguments.data());
}

}  // namespace velmar_cli
