// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "client/Connector.h"

#include <atomic>

namespace velmar_embedded {

namespace {

std::atomic<const Connector*> installedConnector{nullptr};

}  // namespace

const Connector* Connector::installed() { return installedConnector; }

void Connector::install(const Connector& connector) { installedConnector = &connector; }

}  // namespace velmar_embedded
