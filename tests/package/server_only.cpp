#include <server/Server.h>

int main() {
    velmar_embedded::Server server;
    server.start();
}
