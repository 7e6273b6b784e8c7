#include "component/install_folder.h"

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>

#include "twupdate/error.h"

namespace twupdate {

std::filesystem::path FolderOfThisCode() {
    // The list of mapped files names a program by its full path even when it was started by a
    // bare name, which the dynamic loader's own record of it does not.
    const auto here = reinterpret_cast<std::uintptr_t>(&FolderOfThisCode);
    std::ifstream mappings("/proc/self/maps");
    for (std::string line; std::getline(mappings, line);) {
        std::istringstream words(line);
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
        char dash = 0;
        words >> std::hex >> begin >> dash >> end;
        const auto file = line.find('/');
        if (begin <= here && here < end && file != std::string::npos) {
            return std::filesystem::path(line.substr(file)).parent_path();
        }
    }
    throw FileError(
        "cannot determine the file that the component was loaded from (/proc/self/maps)");
}

}  // namespace twupdate
