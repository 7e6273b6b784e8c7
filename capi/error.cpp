#include "capi/error.h"

#include <exception>
#include <filesystem>
#include <new>

namespace twupdate::capi {
namespace {

void WriteText(twu_error& error, twu_status status, const char* text) {
    error.status = status;
    error.text = text;
}

void WriteHostError(twu_error& error, const HostError& failure) {
    error.status = TWU_HOST_ERROR;
    error.code = failure.Code();
    error.sqlState = failure.SqlState();
    error.text = failure.what();
    error.statement = failure.Statement();  // last: it is the one that may be large
}

}  // namespace

void WriteCurrentException(twu_error& error) noexcept {
    try {
        try {
            std::rethrow_exception(std::current_exception());
        } catch (const HostError& failure) {
            WriteHostError(error, failure);
        } catch (const ConversionError& failure) {
            WriteText(error, TWU_CONVERSION_ERROR, failure.what());
        } catch (const FileError& failure) {
            WriteText(error, TWU_FILE_ERROR, failure.what());
        } catch (const std::filesystem::filesystem_error& failure) {
            WriteText(error, TWU_FILE_ERROR, failure.what());
        } catch (const DataFileError& failure) {
            WriteText(error, TWU_DATA_FILE_ERROR, failure.what());
        } catch (const OutdatedCentralDatabaseError& failure) {
            WriteText(error, TWU_OUTDATED_CENTRAL_DATABASE, failure.what());
        } catch (const NotConfiguredError& failure) {
            WriteText(error, TWU_NOT_CONFIGURED, failure.what());
        } catch (const Stopped& failure) {
            WriteText(error, TWU_STOPPED, failure.what());
        } catch (const InvalidArgument& failure) {
            WriteText(error, TWU_INVALID_ARGUMENT, failure.what());
        } catch (const std::bad_alloc&) {
            WriteText(error, TWU_NO_MEMORY, "out of memory");
        } catch (const std::exception& failure) {
            WriteText(error, TWU_OTHER, failure.what());
        } catch (...) {
            WriteText(error, TWU_OTHER, "an exception of an unknown type");
        }
    } catch (...) {
        // No memory for the texts. The status was written before them.
    }
}

void ThrowFailure(twu_status status, const twu_error& error, const std::string& statement) {
    if (status == TWU_STOPPED) {
        throw Stopped(error.text.empty() ? "a callback requested a stop" : error.text);
    }
    if (status == TWU_NO_MEMORY) {
        throw std::bad_alloc();
    }
    throw HostError(
        error.statement.empty() ? statement : error.statement, error.code, error.sqlState,
        error.text.empty() ? "the host's callback failed without an error text" : error.text);
}

}  // namespace twupdate::capi

// --- the C functions about errors -------------------------------------------------------------

void twu_error_set(twu_error* error, uint32_t code, const char* sqlstate, const char* text) {
    if (error == nullptr) {
        return;
    }
    try {
        error->code = code;
        error->sqlState = sqlstate == nullptr ? "" : sqlstate;
        error->text = text == nullptr ? "" : text;
    } catch (const std::bad_alloc&) {
        // The callback's status still tells that it failed.
    }
}

void twu_error_set_statement(twu_error* error, const char* statement, size_t size) {
    if (error == nullptr || statement == nullptr) {
        return;
    }
    try {
        error->statement.assign(statement, size);
    } catch (const std::exception&) {
        // As above; a size that no string can have throws length_error.
    }
}

twu_status twu_error_status(const twu_error* error) {
    return error == nullptr ? TWU_OK : error->status;
}

uint32_t twu_error_code(const twu_error* error) {
    return error == nullptr ? 0 : error->code;
}

const char* twu_error_sqlstate(const twu_error* error) {
    return error == nullptr ? "" : error->sqlState.c_str();
}

const char* twu_error_text(const twu_error* error) {
    return error == nullptr ? "" : error->text.c_str();
}

const char* twu_error_statement(const twu_error* error, size_t* size) {
    if (size != nullptr) {
        *size = error == nullptr ? 0 : error->statement.size();
    }
    return error == nullptr ? "" : error->statement.c_str();
}

const char* twu_status_name(twu_status status) {
    switch (status) {
        case TWU_OK:
            return "TWU_OK";
        case TWU_HOST_ERROR:
            return "TWU_HOST_ERROR";
        case TWU_CONVERSION_ERROR:
            return "TWU_CONVERSION_ERROR";
        case TWU_FILE_ERROR:
            return "TWU_FILE_ERROR";
        case TWU_DATA_FILE_ERROR:
            return "TWU_DATA_FILE_ERROR";
        case TWU_OUTDATED_CENTRAL_DATABASE:
            return "TWU_OUTDATED_CENTRAL_DATABASE";
        case TWU_NOT_CONFIGURED:
            return "TWU_NOT_CONFIGURED";
        case TWU_NO_MEMORY:
            return "TWU_NO_MEMORY";
        case TWU_STOPPED:
            return "TWU_STOPPED";
        case TWU_INVALID_ARGUMENT:
            return "TWU_INVALID_ARGUMENT";
        case TWU_OTHER:
            return "TWU_OTHER";
        default:
            return "unknown status";
    }
}
