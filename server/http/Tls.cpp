// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Tls.h"

#include <Pegasus/Client/CIMClient.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <stdexcept>

#include "CimReader.h"

namespace velmar_wire {

namespace {

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

std::unique_ptr<httplib::SSLClient> tlsClient(const std::string& host, int port,
                                              const Trust& trust) {
    auto client = std::make_unique<httplib::SSLClient>(host, port);
    client->enable_server_certificate_verification(true);
    if (!trust.file.empty()) {
        SSL_CTX* const context = client->ssl_context();
        if (SSL_CTX_load_verify_locations(context, trust.file.c_str(), nullptr) != 1) {
            const char* const reason = ERR_reason_error_string(ERR_peek_error());
            ERR_clear_error();
            throw std::invalid_argument(trust.file + ": no PEM certificates can be read" +
                                        (reason == nullptr ? "" : std::string(": ") + reason));
        }
        // A server's own certificate is enough, whoever has issued it.
        X509_VERIFY_PARAM_set_flags(SSL_CTX_get0_param(context), X509_V_FLAG_PARTIAL_CHAIN);
        client->set_ca_cert_path(trust.file);
    }
    return client;
}

std::string tlsFault(const httplib::SSLClient& client, httplib::Error error,
                     const std::string& host, const std::string& place) {
    const std::string refused = "Connection to " + place + " refused: the server's certificate ";
    const std::string remedy =
        "; if it is the right one, openssl s_client -connect " + place +
        " </dev/null | openssl x509 >server.pem gets it, and velmar's --cacert server.pem trusts "
        "it";
    if (error == httplib::Error::SSLConnection) {
        return "Connection to " + place +
               " failed: no TLS is spoken there, or none of its versions and ciphers fits; of a "
               "port without TLS the URL begins with http://";
    }
    if (error != httplib::Error::SSLServerVerification) {
        return "";
    }
    const long result = client.get_openssl_verify_result();
    if (result == X509_V_OK) {
        return refused + "is for another host than " + host +
               "; name the host as the certificate does, openssl s_client -connect " + place +
               " </dev/null | openssl x509 -noout -subject -ext subjectAltName shows it";
    }
    if (result == X509_V_ERR_CERT_HAS_EXPIRED) {
        return refused + "has expired; the server needs a new one";
    }
    if (isIssuerUnknown(result)) {
        return refused + "is of an unknown issuer" + remedy;
    }
    return refused + "does not fit: " + X509_verify_cert_error_string(result) + remedy;
}

}  // namespace velmar_wire
