// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Login.h"

#include <errno.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <signal.h>
#include <string.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>

#include "Package.h"

namespace velmar_cli {

namespace {

constexpr size_t LONGEST = 1024;

class Descriptor {
 public:
    explicit Descriptor(int number) : _number(number) {}
    ~Descriptor() {
        if (_number >= 0) {
            close(_number);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    operator int() const { return _number; }

 private:
    const int _number;
};

volatile sig_atomic_t received = 0;

// Until its end the terminal does not show what is typed. A signal that would end the process in
// between ends it afterwards, for it would leave the terminal silent.
class Silence {
 public:
    explicit Silence(int terminal) : _terminal(terminal) {
        struct sigaction noting = {};
        noting.sa_handler = [](int signal) { received = signal; };
        for (size_t i = 0; i < std::size(SIGNALS); i++) {
            sigaction(SIGNALS[i], &noting, &_before[i]);
        }
        tcgetattr(terminal, &_shown);
        termios silent = _shown;
        silent.c_lflag &= ~tcflag_t(ECHO);
        silent.c_lflag |= ECHONL;
        tcsetattr(terminal, TCSAFLUSH, &silent);
    }
    ~Silence() {
        tcsetattr(_terminal, TCSAFLUSH, &_shown);
        for (size_t i = 0; i < std::size(SIGNALS); i++) {
            sigaction(SIGNALS[i], &_before[i], nullptr);
        }
        if (received != 0) {
            raise(received);
        }
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

 private:
    static constexpr int SIGNALS[] = {SIGINT, SIGTERM, SIGQUIT, SIGHUP};
    const int _terminal;
    termios _shown = {};
    struct sigaction _before[std::size(SIGNALS)] = {};
};

// The first line.
std::string lineOf(int descriptor) {
    std::string text;
    char next = 0;
    while (text.size() <= LONGEST && received == 0) {
        const ssize_t count = read(descriptor, &next, 1);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count != 1 || next == '\n') {
            break;
        }
        text += next;
    }
    return text;
}

std::string typed(const std::string& user) {
    const Descriptor terminal(open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY));
    if (terminal < 0) {
        throw UsageError("--user " + user +
                         ": no password, and no terminal to ask for it; --password-file FILE or "
                         "VELMAR_PASSWORD in the environment gives it");
    }
    const std::string prompt = "Password of " + user + ": ";
    const Silence silence(terminal);
    if (::write(terminal, prompt.data(), prompt.size()) < 0) {
        throw UsageError(fmt::format("cannot ask for the password: {}", strerror(errno)));
    }
    return lineOf(terminal);
}

std::string readFrom(const std::string& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    struct stat status = {};
    if (file < 0 || fstat(file, &status) != 0) {
        throw UsageError(fmt::format("{}: {}", path, strerror(errno)));
    }
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        throw UsageError(
            path + ": holds a password and is open to others than its owner; chmod 600 " + path);
    }
    return lineOf(file);
}

}  // namespace

void Login::addOptions(CLI::App& command) {
    command.add_option(
        "--user", user,
        "User at a server, whose password is asked for at the terminal, where neither "
        "--password-file nor VELMAR_PASSWORD in the environment gives it");
    command
        .add_option("--password-file", passwordFile,
                    "File with the password in its first line, which others may not read")
        ->type_name("FILE");
    command
        .add_option("--cacert", trusted,
                    "PEM certificates, of https servers or their issuers, that are trusted "
                    "instead of the system's")
        ->type_name("FILE");
}

const std::string& Login::password() const {
    if (_password) {
        return *_password;
    }
    if (user.empty()) {
        if (!passwordFile.empty()) {
            throw UsageError("--password-file " + passwordFile + ": whose? --user NAME says it");
        }
        return _password.emplace();
    }
    const char* const given = std::getenv("VELMAR_PASSWORD");
    const std::string found = !passwordFile.empty() ? readFrom(passwordFile)
                              : given != nullptr    ? given
                                                    : typed(user);
    if (found.size() > LONGEST) {
        throw UsageError(fmt::format("a password of more than {} bytes", LONGEST));
    }
    return _password.emplace(found);
}

}  // namespace velmar_cli
