// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Reads arbitrary bytes as the example's site file. What is refused is refused with the file's
// name.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include <site/SiteFile.h>

#include "Parts.h"

VELMAR_FUZZ_BY_PARTS(velmar_fuzz::partsOfMof)  // JSON has the same brackets, texts and words

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const int file = memfd_create("site", MFD_CLOEXEC);
    if (file < 0 || write(file, data, size) != ssize_t(size)) {
        abort();
    }
    const std::string name = "/proc/self/fd/" + std::to_string(file);
    try {
        const site::Site site = site::loadSite(name);
        site::forEachSystem(site, [](const site::Domain&, const site::HostingSystem& system) {
            for (const site::Partition& partition : system.partitions) {
                if (partition.state == nullptr || site::partitionName(system, partition).empty()) {
                    abort();
                }
            }
        });
    } catch (const site::SiteError& error) {
        if (std::string(error.what()).rfind(name + ":", 0) != 0) {
            abort();
        }
    }
    close(file);
    return 0;
}
