#include "twupdate_host/password_file.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>

namespace twupdate::host {

std::string ReadPasswordFile(const std::filesystem::path& file) {
    const auto fail = [&](int error) {
        throw std::runtime_error("cannot read the password file " + file.string() + ": " +
                                 std::strerror(error));
    };
    std::ifstream stream(file);
    if (!stream) {
        fail(errno);
    }
    struct stat status {};
    if (stat(file.c_str(), &status) != 0) {
        fail(errno);
    }
    if (S_ISDIR(status.st_mode)) {
        fail(EISDIR);  // which can be opened, and would be an empty password
    }
    // A pipe, as of a password manager, has no readers but this program.
    if (S_ISREG(status.st_mode) && (status.st_mode & S_IROTH) != 0) {
        throw std::runtime_error("the password file " + file.string() +
                                 " can be read by everybody; restrict it to its owner (chmod 600)");
    }
    std::string password;
    std::getline(stream, password);
    if (stream.bad()) {
        fail(errno);
    }
    if (!password.empty() && password.back() == '\r') {
        password.pop_back();
    }
    return password;
}

}  // namespace twupdate::host
