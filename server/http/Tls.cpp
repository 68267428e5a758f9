// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Tls.h"

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/Exception.h>
#include <errno.h>
#include <openssl/err.h>
#include <openssl/x509.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <time.h>

#include <algorithm>
#include <new>
#include <stdexcept>
#include <utility>

#include "CimReader.h"
#include "HttpClient.h"

namespace velmar_wire {

namespace {

// Bytes that are given to OpenSSL at once, whose sizes are ints.
const size_t largest = 1 << 20;

// OpenSSL writes to a socket as to a file: to one that the server has closed, the signal would end
// the process. It stays with this thread, which takes it.
class WithoutSigpipe {
 public:
    WithoutSigpipe() {
        sigset_t pending;
        sigemptyset(&_signal);
        sigaddset(&_signal, SIGPIPE);
        sigpending(&pending);
        _wasPending = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &_signal, &_before);
    }
    ~WithoutSigpipe() {
        const int number = errno;
        const timespec now = {0, 0};
        while (!_wasPending && sigtimedwait(&_signal, nullptr, &now) < 0 && errno == EINTR) {
        }
        pthread_sigmask(SIG_SETMASK, &_before, nullptr);
        errno = number;
    }
    WithoutSigpipe(const WithoutSigpipe&) = delete;
    WithoutSigpipe& operator=(const WithoutSigpipe&) = delete;

 private:
    sigset_t _signal, _before;
    bool _wasPending = false;
};

thread_local const Trust* wanted = nullptr;

// The connector knows host and port only, as CIMClient does.
class Wanting {
 public:
    explicit Wanting(const Trust* trust) { wanted = trust; }
    ~Wanting() { wanted = nullptr; }
};

[[noreturn]] void refuse(const std::string& url) {
    throw std::invalid_argument(url + ": expected http://HOST:PORT or https://HOST:PORT");
}

bool isIssuerUnknown(long result) {
    return result == X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT ||
           result == X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN ||
           result == X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT ||
           result == X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY ||
           result == X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE;
}

}  // namespace

const Trust* wantedTrust() { return wanted; }

Address addressOf(const std::string& url) {
    const size_t begin = url.find("://") == std::string::npos ? 0 : url.find("://") + 3;
    const std::string scheme = url.substr(0, begin);
    if (scheme != "http://" && scheme != "https://") {
        refuse(url);
    }
    Address address{"", 0, scheme == "https://"};
    const std::string place = url.substr(begin, url.find_first_of("/?#", begin) - begin);
    if (place.find('@') != std::string::npos) {  // it may be followed by a password
        throw std::invalid_argument("a URL with a user; expected " + scheme + "HOST:PORT");
    }
    const bool isBracketed = !place.empty() && place[0] == '[';
    const size_t end = isBracketed ? place.find(']') : place.find(':');
    address.host = isBracketed ? place.substr(1, end - 1) : place.substr(0, end);
    std::string port = end == std::string::npos ? "" : place.substr(end + (isBracketed ? 1 : 0));
    if (address.host.empty() || (isBracketed && end == std::string::npos) ||
        (!port.empty() && port[0] != ':')) {
        refuse(url);
    }
    port = port.empty() ? (address.isEncrypted ? "5989" : "5988") : port.substr(1);
    const bool isNumber = !port.empty() && port.size() < 6 &&
                          port.find_first_not_of("0123456789") == std::string::npos;
    if (!isNumber || std::stoul(port) == 0 || std::stoul(port) > 65535) {
        refuse(url);
    }
    address.port = static_cast<uint16_t>(std::stoul(port));
    return address;
}

void connect(Pegasus::CIMClient& client, const std::string& url, const std::string& user,
             const std::string& password, const Trust& trust) {
    const Address address = addressOf(url);
    const Wanting wanting(address.isEncrypted ? &trust : nullptr);
    client.connect(stringOf(address.host), address.port, stringOf(user), stringOf(password));
}

Tls::Tls(std::string host, std::string place, const Trust& trust)
    : _host(std::move(host)),
      _place(std::move(place)),
      _context(SSL_CTX_new(TLS_client_method()), SSL_CTX_free) {
    SSL_CTX* const context = _context.get();
    if (context == nullptr) {
        throw std::bad_alloc();
    }
    SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
    SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
    SSL_CTX_set_mode(context, SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    SSL_CTX_set_options(context, SSL_OP_IGNORE_UNEXPECTED_EOF);  // HTTP knows where answers end
    if (trust.file.empty()) {
        SSL_CTX_set_default_verify_paths(context);
        return;
    }
    if (SSL_CTX_load_verify_locations(context, trust.file.c_str(), nullptr) != 1) {
        const char* const reason = ERR_reason_error_string(ERR_peek_error());
        ERR_clear_error();
        throw std::invalid_argument(trust.file + ": no PEM certificates can be read" +
                                    (reason == nullptr ? "" : std::string(": ") + reason));
    }
    // A server's own certificate is enough, whoever has issued it.
    X509_VERIFY_PARAM_set_flags(SSL_CTX_get0_param(context), X509_V_FLAG_PARTIAL_CHAIN);
}

void Tls::begin(int socket, std::chrono::milliseconds timeout) {
    _session.reset(SSL_new(_context.get()));
    SSL* const session = _session.get();
    if (session == nullptr || SSL_set_fd(session, socket) != 1) {
        throw std::bad_alloc();
    }
    // An address is no name: it has a field of its own in certificates, and none in the greeting.
    if (X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(session), _host.c_str()) != 1) {
        SSL_set_tlsext_host_name(session, _host.c_str());
        SSL_set1_host(session, _host.c_str());
    }
    const WithoutSigpipe guard;
    for (;;) {
        ERR_clear_error();
        const int returned = SSL_connect(session);
        if (returned == 1) {
            return;
        }
        if (resultOf(returned) == 0 || errno != EAGAIN) {
            refuse();
        }
        if (!happens(socket, _waitsFor, timeout)) {
            throw NoAnswer("the server is silent", true);
        }
    }
}

// As a system call would say it.
ssize_t Tls::resultOf(int returned) {
    if (returned > 0) {
        return returned;
    }
    const int why = SSL_get_error(_session.get(), returned);
    _waitsFor = why == SSL_ERROR_WANT_WRITE ? POLLOUT : POLLIN;
    if (why == SSL_ERROR_ZERO_RETURN) {
        return 0;
    }
    if (why == SSL_ERROR_WANT_READ || why == SSL_ERROR_WANT_WRITE) {
        errno = EAGAIN;
    } else if (why != SSL_ERROR_SYSCALL || errno == 0 || errno == EAGAIN) {
        errno = EPROTO;
    }
    return -1;
}

ssize_t Tls::send(const char* data, size_t size) {
    const WithoutSigpipe guard;
    ERR_clear_error();
    return resultOf(SSL_write(_session.get(), data, static_cast<int>(std::min(size, largest))));
}

ssize_t Tls::receive(char* data, size_t size) {
    const WithoutSigpipe guard;  // reading may have to answer
    ERR_clear_error();
    return resultOf(SSL_read(_session.get(), data, static_cast<int>(std::min(size, largest))));
}

void Tls::refuse() {
    const std::string refused = "Connection to " + _place + " refused: the server's certificate ";
    const std::string remedy =
        "; if it is the right one, openssl s_client -connect " + _place +
        " </dev/null | openssl x509 >server.pem gets it, and velmar's --cacert server.pem trusts "
        "it";
    const long result = SSL_get_verify_result(_session.get());
    std::string text = refused + "does not fit: " + X509_verify_cert_error_string(result) + remedy;
    if (result == X509_V_OK) {
        text = "Connection to " + _place +
               " failed: no TLS is spoken there, or none of its versions and ciphers fits; of a "
               "port without TLS the URL begins with http://";
    } else if (result == X509_V_ERR_HOSTNAME_MISMATCH || result == X509_V_ERR_IP_ADDRESS_MISMATCH) {
        text = refused + "is for another host than " + _host +
               "; name the host as the certificate does, openssl s_client -connect " + _place +
               " </dev/null | openssl x509 -noout -subject -ext subjectAltName shows it";
    } else if (result == X509_V_ERR_CERT_HAS_EXPIRED) {
        text = refused + "has expired; the server needs a new one";
    } else if (isIssuerUnknown(result)) {
        text = refused + "is of an unknown issuer" + remedy;
    }
    throw Pegasus::CannotConnectException(stringOf(text));
}

}  // namespace velmar_wire
