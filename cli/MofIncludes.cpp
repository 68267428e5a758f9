// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "MofIncludes.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

namespace fs = std::filesystem;

namespace velmar_cli {

std::vector<std::string> withIncludes(const std::vector<std::string>& files) {
    static const std::regex include("#pragma\\s+include\\s*\\(\\s*\"([^\"]+)\"\\s*\\)",
                                    std::regex::icase);
    std::vector<std::string> result;
    std::vector<std::string> open(files.rbegin(), files.rend());
    while (!open.empty()) {
        const std::string file = fs::path(open.back()).lexically_normal().string();
        open.pop_back();
        std::ifstream in(file);
        if (!in || std::find(result.begin(), result.end(), file) != result.end()) {
            continue;
        }
        result.push_back(file);
        std::stringstream text;
        text << in.rdbuf();
        const std::string all = text.str();
        for (std::sregex_iterator one(all.begin(), all.end(), include), end; one != end; ++one) {
            open.push_back((fs::path(file).parent_path() / (*one)[1].str()).string());
        }
    }
    return result;
}

}  // namespace velmar_cli
