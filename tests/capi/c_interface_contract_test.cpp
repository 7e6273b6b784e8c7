// What every host must do, asked of a host behind the C interface: the reference host, reached
// through C callbacks. What comes out of the adapter must be what went in.

#include <cstdlib>
#include <filesystem>

#include "capi/host_adapter.h"
#include "contract/host_contract.h"
#include "twupdate_host/mariadb_utility.h"
#include "twupdate_host/private_server.h"

namespace twupdate::test {
namespace {

/// The context of the callbacks.
struct Context {
    std::shared_ptr<host::MariaDbUtility> host;
    std::vector<std::string> services;
    bool servicesFail = false;
    std::string text;  ///< what the last callback handed out
    std::string folder;
};

Context& Of(void* context) {
    return *static_cast<Context*>(context);
}

/// Runs the body of a callback; a HostError becomes the callback's failure.
template <typename Body>
twu_status Answering(twu_error* error, const Body& body) {
    try {
        body();
        return TWU_OK;
    } catch (const HostError& failure) {
        twu_error_set(error, failure.Code(), failure.SqlState().c_str(), failure.what());
    } catch (const std::exception& failure) {
        twu_error_set(error, 0, nullptr, failure.what());
    }
    return TWU_HOST_ERROR;
}

// A result and a command are shared pointers on the heap.
using ResultHandle = std::shared_ptr<Recordset>;
using CommandHandle = std::shared_ptr<Command>;

Recordset& ResultOf(void* handle) {
    return **static_cast<ResultHandle*>(handle);
}

Command& CommandOf(void* handle) {
    return **static_cast<CommandHandle*>(handle);
}

void HandOut(Context& context, const Value& value, twu_value& out) {
    const auto& data = value.Get();
    if (const auto* integer = std::get_if<std::int64_t>(&data)) {
        out.type = TWU_INTEGER;
        out.as.integer = *integer;
    } else if (const auto* real = std::get_if<double>(&data)) {
        out.type = TWU_REAL;
        out.as.real = *real;
    } else if (const auto* text = std::get_if<std::string>(&data)) {
        context.text = *text;
        out.type = TWU_TEXT;
        out.as.text = {context.text.data(), context.text.size()};
    }
}

Value ToValue(const twu_value& value) {
    switch (value.type) {
        case TWU_INTEGER:
            return value.as.integer;
        case TWU_REAL:
            return value.as.real;
        case TWU_TEXT:
            return std::string(value.as.text.data, value.as.text.size);
        default:
            return {};
    }
}

twu_status Serve(void* context, const char* service, std::int32_t site, std::int32_t component,
                 twu_error* error) {
    return Answering(error, [&] {
        const std::string call =
            std::string(service) + " " + std::to_string(site) + " " + std::to_string(component);
        if (Of(context).servicesFail) {
            throw HostError("", 0, "", "the service failed");
        }
        Of(context).services.push_back(call);
    });
}

void AddStatements(twu_host_callbacks& table) {
    table.execute = [](void* context, const char* sql, size_t size, int64_t* rows,
                       twu_error* error) {
        return Answering(error, [&] {
            Of(context).host->GetDatabase()->Execute(std::string(sql, size), *rows);
        });
    };
    table.open_query = [](void* context, const char* sql, size_t size, void** result,
                          twu_error* error) {
        return Answering(error, [&] {
            *result = new ResultHandle(
                Of(context).host->GetDatabase()->OpenRecordset(std::string(sql, size), 0, 0));
        });
    };
    table.last_insert_id = [](void* context, int64_t* id, twu_error* error) {
        return Answering(error, [&] {
            *id = static_cast<int64_t>(Of(context).host->GetConnection()->LastInsertId());
        });
    };
}

void AddResults(twu_host_callbacks& table) {
    table.result_eof = [](void*, void* handle) -> int32_t {
        return ResultOf(handle).IsEOF() ? 1 : 0;
    };
    table.result_field = [](void* context, void* handle, const char* column, twu_value* value,
                            twu_error* error) {
        return Answering(error, [&] {
            HandOut(Of(context), ResultOf(handle).Fields().Item(column).Value(), *value);
        });
    };
    table.result_next = [](void*, void* handle, twu_error* error) {
        return Answering(error, [&] { ResultOf(handle).MoveNext(); });
    };
    table.result_close = [](void*, void* handle) { delete static_cast<ResultHandle*>(handle); };
}

void AddCommands(twu_host_callbacks& table) {
    table.command_new = [](void* context, void** command, twu_error* error) {
        return Answering(error, [&] {
            *command = new CommandHandle(Of(context).host->GetCommandFactory()->NewCommand());
        });
    };
    table.command_add_parameter = [](void*, void* command, const twu_value* value,
                                     twu_error* error) {
        return Answering(error, [&] { CommandOf(command).AddParameter(ToValue(*value)); });
    };
    table.command_set_text = [](void*, void* command, const char* sql, size_t size,
                                twu_error* error) {
        return Answering(error, [&] { CommandOf(command).SetText(std::string(sql, size)); });
    };
    table.command_open = [](void* context, void* command, void** result, twu_error* error) {
        return Answering(error, [&] {
            *result = new ResultHandle(
                CommandOf(command).OpenCommandRecordset(Of(context).host->GetDatabase()));
        });
    };
    table.command_execute = [](void* context, void* command, int64_t* rows, twu_error* error) {
        return Answering(error, [&] {
            CommandOf(command).ExecuteCommand(Of(context).host->GetDatabase(), *rows);
        });
    };
    table.command_close = [](void*, void* command) {
        CommandOf(command).CloseCommand();
        delete static_cast<CommandHandle*>(command);
    };
}

void AddServices(twu_host_callbacks& table) {
    table.component_item = [](void* context, int32_t id, twu_component* component,
                              twu_error* error) {
        return Answering(error, [&] {
            const auto found = Of(context).host->GetComponentHost()->GetComponentList()->Item(id);
            Of(context).text = found->GetComponentName();
            Of(context).folder = found->GetFolderName();
            component->name = {Of(context).text.data(), Of(context).text.size()};
            component->folder = {Of(context).folder.data(), Of(context).folder.size()};
        });
    };
    table.upgrade_site_component = [](void* context, int32_t site, int32_t component,
                                      twu_error* error) {
        return Serve(context, "UpgradeSiteComponent", site, component, error);
    };
    table.refresh_site_component = [](void* context, int32_t site, int32_t component,
                                      twu_error* error) {
        return Serve(context, "RefreshSiteComponent", site, component, error);
    };
    table.initialise_site_component = [](void* context, int32_t site, int32_t component,
                                         twu_error* error) {
        return Serve(context, "InitialiseSiteComponent", site, component, error);
    };
    table.reset_site_component = [](void* context, int32_t site, int32_t component,
                                    twu_error* error) {
        return Serve(context, "ResetSiteComponent", site, component, error);
    };
    table.refresh_application = [](void* context, twu_error* error) {
        return Answering(error, [&] { Of(context).services.emplace_back("Refresh"); });
    };
}

/// One private server for all tests, in a folder of its own that goes with it.
class Server {
  public:
    static host::PrivateServer& Get() {
        static Server server;
        return *server.server_;
    }
    ~Server() {
        server_.reset();
        std::filesystem::remove_all(folder_);
    }

  private:
    Server() {
        std::string name = (std::filesystem::temp_directory_path() / "twupdate-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        folder_ = name;
        server_ = std::make_unique<host::PrivateServer>(folder_ / "server",
                                                        host::PrivateServerOptions{.fast = true});
    }

    std::filesystem::path folder_;
    std::unique_ptr<host::PrivateServer> server_;
};

class HostBehindTheCInterface : public HostUnderTest {
  public:
    HostBehindTheCInterface() {
        const auto connection = host::Connection::Open(Server::Get().ConnectOptions());
        connection->Execute("CREATE DATABASE IF NOT EXISTS tw_tarnwick");
        connection->Execute(
            "CREATE OR REPLACE TABLE tw_tarnwick.component(componentid INT DEFAULT 0 NOT NULL, "
            "componentname VARCHAR(255), foldername VARCHAR(50), PRIMARY KEY(componentid))");
        context_.host = std::make_shared<host::MariaDbUtility>(connection);
        twu_host_callbacks table{};
        table.size = sizeof(table);
        AddStatements(table);
        AddResults(table);
        AddCommands(table);
        AddServices(table);
        utility_ = capi::MakeUtility(table, &context_);
    }

    std::shared_ptr<Utility> Host() override { return utility_; }
    void AddComponent(std::int32_t id, const std::string& name,
                      const std::string& folder) override {
        context_.host->GetConnection()->ExecutePrepared(
            "INSERT INTO tw_tarnwick.component VALUES(?, ?, ?)",
            std::vector<Value>{id, name, folder});
    }
    bool FailServices() override {
        context_.servicesFail = true;
        return true;
    }
    bool ServiceCalls(std::vector<std::string>& calls) override {
        calls = context_.services;
        return true;
    }

  private:
    Context context_;
    std::shared_ptr<Utility> utility_;
};

INSTANTIATE_TEST_SUITE_P(HostBehindTheCInterface, HostContract,
                         testing::Values(HostFactory{
                             "HostBehindTheCInterface",
                             [] { return std::make_unique<HostBehindTheCInterface>(); }}));

}  // namespace
}  // namespace twupdate::test
