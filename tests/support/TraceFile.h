// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Turns the tracer on for component 36 at every level and reads back what was written.
#ifndef VELMAR_TESTS_SUPPORT_TRACEFILE_H
#define VELMAR_TESTS_SUPPORT_TRACEFILE_H

#include <Pegasus/Common/Tracer.h>
#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace support {

class TraceFile {
 public:
    TraceFile() {
        char name[] = "/tmp/velmar_trace_XXXXXX";
        const int fd = mkstemp(name);
        if (fd == -1) {
            throw std::runtime_error("no temporary file for the trace");
        }
        close(fd);
        _name = name;
        Pegasus::Tracer::setMaxTraceFileSize("10240");
        if (Pegasus::Tracer::setTraceFile(name) != 0) {
            throw std::runtime_error("cannot trace to " + _name);
        }
        Pegasus::Tracer::setTraceComponents("WsmServer");
        Pegasus::Tracer::setTraceLevel(16);
    }
    ~TraceFile() {
        Pegasus::Tracer::setTraceLevel(0);
        Pegasus::Tracer::setTraceComponents("");
        unlink(_name.c_str());
    }

    /// The whole lines written so far.
    std::vector<std::string> lines() const {
        std::vector<std::string> result;
        std::ifstream in(_name);
        for (std::string line; std::getline(in, line);) {
            result.push_back(line);
        }
        return result;
    }
    /// Their texts, without what stands before "]: ".
    std::vector<std::string> texts() const {
        std::vector<std::string> result = lines();
        for (std::string& line : result) {
            line.erase(0, line.find("]: ") + 3);
        }
        return result;
    }

 private:
    std::string _name;
};

}  // namespace support

#endif
