#include "twupdate/error.h"

#include <utility>

namespace twupdate {

HostError::HostError(std::string statement, std::uint32_t code, std::string sqlState,
                     const std::string& text)
    : std::runtime_error(text),
      statement_(std::move(statement)),
      code_(code),
      sqlState_(std::move(sqlState)) {}

HostError::~HostError() = default;
ConversionError::~ConversionError() = default;
OverflowError::~OverflowError() = default;
FileError::~FileError() = default;
DataFileError::~DataFileError() = default;
OutdatedCentralDatabaseError::~OutdatedCentralDatabaseError() = default;

NotConfiguredError::NotConfiguredError()
    : std::logic_error("Update is not configured; call Configure first") {}
NotConfiguredError::~NotConfiguredError() = default;

}  // namespace twupdate
