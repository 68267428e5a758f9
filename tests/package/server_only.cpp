// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <velmar_embedded/Server.h>

int main() {
    velmar_embedded::Server server;
    server.start();
}
