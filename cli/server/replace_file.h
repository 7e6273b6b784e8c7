#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string_view>

#include "cli/terminal/console.h"

namespace twupdate::cli {

/// Whom the permissions of a file let read it.
enum class FileReaders : mode_t {
    kOwner = 0600,
    kUsual = 0666,  ///< as the umask says
};

/// Writes a file; it is there whole, or as it was before.
/// @return false, with errno set, when that fails
bool ReplaceFile(const std::filesystem::path& file, std::string_view content,
                 FileReaders readers = FileReaders::kOwner);

/// @throws CommandError for a name that is that of a folder or of a device
void RequireRegularFile(const std::filesystem::path& file);

/// A file that shows how a run goes on, for anybody; it is replaced whole each time. If it can no
/// longer be written, that is one warning: the run is worth more than its record.
class RenewedFile {
  public:
    /// Creates the missing folders of the file.
    /// @throws CommandError when it cannot be written
    RenewedFile(std::filesystem::path file, std::string_view content, Console& console);
    void Write(std::string_view content);

  private:
    std::filesystem::path file_;
    Console& console_;
    bool failed_ = false;
};

}  // namespace twupdate::cli
