#include "twupdate_host/listener.h"

namespace twupdate::host {

std::string_view OperationText(Operation operation) {
    switch (operation) {
        case Operation::kQuery:
            return "query";
        case Operation::kReader:
            return "reader";
        case Operation::kExecute:
            return "execute";
        case Operation::kCommand:
            return "command";
        case Operation::kService:
            return "service";
        case Operation::kRefresh:
            return "refresh";
        case Operation::kBatch:
            return "batch";
    }
    return "";
}

}  // namespace twupdate::host
