#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

namespace twupdate::test {

/// A TCP port of the local machine that nobody uses at the moment.
inline int FreePort() {
    const int probe = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    const bool bound = bind(probe, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
                       getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length) == 0;
    close(probe);
    if (!bound) {
        throw std::runtime_error("no free TCP port");
    }
    return ntohs(address.sin_port);
}

}  // namespace twupdate::test
