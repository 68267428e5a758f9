#include <velmar_embedded/Server.h>

int main() {
    velmar_embedded::Server server;
    server.start();
}
