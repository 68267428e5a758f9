// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A provider library.
//
// Thread-safe.
#ifndef VELMAR_EMBEDDED_PROVIDERS_MODULE_H
#define VELMAR_EMBEDDED_PROVIDERS_MODULE_H

#include <Pegasus/Provider/CIMProvider.h>

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace velmar_embedded {

class Module {
 public:
    /// `directories` are asked for each time the library is opened.
    Module(std::string location, std::function<std::vector<std::string>()> directories);
    /// Closes the library; its providers must have been terminated.
    ~Module();
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    /// Opens the library if need be and asks it for a provider. Throws CIMException
    /// (CIM_ERR_FAILED) with the folders tried, with the loader's text, or when the library does
    /// not know the name.
    Pegasus::CIMProvider* createProvider(const std::string& name);

 private:
    void open();

    const std::string _location;
    const std::function<std::vector<std::string>()> _directories;
    std::mutex _lock;
    std::string _file;
    void* _library = nullptr;
};

}  // namespace velmar_embedded

#endif
