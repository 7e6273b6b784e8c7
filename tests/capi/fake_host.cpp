#include "fake_host.h"

#include <gtest/gtest.h>

#include <charconv>

namespace capi_test {
namespace {

FakeHost& Host(void* context) {
    return *static_cast<FakeHost*>(context);
}

void* ToHandle(std::size_t number) {
    return reinterpret_cast<void*>(number);  // NOLINT(performance-no-int-to-ptr): that is the point
}

std::size_t ToNumber(void* handle) {
    return reinterpret_cast<std::size_t>(handle);
}

std::string Text(double number) {
    char text[32];
    return {text, std::to_chars(text, text + sizeof(text), number).ptr};
}

std::string Shown(const Cell& cell) {
    if (const auto* integer = std::get_if<std::int64_t>(&cell)) {
        return "integer " + std::to_string(*integer);
    }
    if (const auto* real = std::get_if<double>(&cell)) {
        return "real " + Text(*real);
    }
    const auto* text = std::get_if<std::string>(&cell);
    return text == nullptr ? "NULL" : "text " + *text;
}

twu_status Open(FakeHost& host, const std::string& line, const std::string& sql, void** result,
                twu_error* error) {
    const auto number = host.results.size();
    const auto status = host.Record(line + " -> result " + std::to_string(number), error);
    if (status == TWU_OK) {
        const auto found = host.answers.find(sql);
        Rows rows;
        if (found != host.answers.end()) {
            rows = found->second;
        } else if (host.answerOthers) {
            rows = host.answerOthers(sql);
        }
        host.results.push_back({sql, std::move(rows)});
        *result = ToHandle(number);
    }
    return status;
}

twu_status Serve(void* context, const std::string& name, int32_t site, int32_t component,
                 twu_error* error) {
    return Host(context).Record(name + " " + std::to_string(site) + " " + std::to_string(component),
                                error);
}

}  // namespace

twu_host_callbacks FakeHost::Callbacks() {
    twu_host_callbacks table{};
    table.size = sizeof(table);
    table.execute = [](void* context, const char* sql, size_t size, int64_t* rows,
                       twu_error* error) {
        Host(context).rowsAffectedBefore = *rows;
        *rows = 1;
        return Host(context).Record("execute " + std::string(sql, size), error);
    };
    table.open_query = [](void* context, const char* sql, size_t size, void** result,
                          twu_error* error) {
        const std::string text(sql, size);
        return Open(Host(context), "open_query " + text, text, result, error);
    };
    table.open_reader = [](void* context, const char* sql, size_t size, void** result,
                           twu_error* error) {
        const std::string text(sql, size);
        return Open(Host(context), "open_reader " + text, text, result, error);
    };
    table.last_insert_id = [](void* context, int64_t* id, twu_error* error) {
        *id = Host(context).lastInsertId;
        return Host(context).Record("last_insert_id", error);
    };
    table.result_eof = [](void* context, void* handle) -> int32_t {
        const auto& result = Host(context).results[ToNumber(handle)];
        return result.row < result.rows.size() ? 0 : 1;
    };
    table.result_field = [](void* context, void* handle, const char* column, twu_value* value,
                            twu_error* error) {
        const auto number = ToNumber(handle);
        const auto status =
            Host(context).Record("result_field " + std::to_string(number) + " " + column, error);
        if (status != TWU_OK) {
            return status;
        }
        const auto& result = Host(context).results[number];
        const auto& row = result.rows.at(result.row);
        const auto found = row.find(column);
        if (found == row.end()) {
            twu_error_set(error, 0, "", (std::string("no column ") + column).c_str());
            return twu_status{TWU_HOST_ERROR};
        }
        ToValue(found->second, *value);
        return twu_status{TWU_OK};
    };
    table.result_next = [](void* context, void* handle, twu_error* error) {
        const auto number = ToNumber(handle);
        ++Host(context).results[number].row;
        return Host(context).Record("result_next " + std::to_string(number), error);
    };
    table.result_close = [](void* context, void* handle) {
        const auto number = ToNumber(handle);
        ++Host(context).results[number].closed;
        (void)Host(context).Record("result_close " + std::to_string(number), nullptr);
    };
    table.command_new = [](void* context, void** command, twu_error* error) {
        auto& host = Host(context);
        const auto number = host.commands.size();
        const auto status = host.Record("command_new -> command " + std::to_string(number), error);
        if (status == TWU_OK) {
            host.commands.emplace_back();
            *command = ToHandle(number);
        }
        return status;
    };
    table.command_add_parameter = [](void* context, void* command, const twu_value* value,
                                     twu_error* error) {
        const auto number = ToNumber(command);
        auto& host = Host(context);
        host.commands[number].parameters.push_back(ToCell(*value));
        return host.Record("command_add_parameter " + std::to_string(number) + " " +
                               Shown(host.commands[number].parameters.back()),
                           error);
    };
    table.command_set_text = [](void* context, void* command, const char* sql, size_t size,
                                twu_error* error) {
        const auto number = ToNumber(command);
        auto& host = Host(context);
        host.commands[number].sql.assign(sql, size);
        return host.Record(
            "command_set_text " + std::to_string(number) + " " + host.commands[number].sql, error);
    };
    table.command_open = [](void* context, void* command, void** result, twu_error* error) {
        const auto number = ToNumber(command);
        auto& host = Host(context);
        return Open(host, "command_open " + std::to_string(number), host.commands[number].sql,
                    result, error);
    };
    table.command_execute = [](void* context, void* command, int64_t* rows, twu_error* error) {
        Host(context).rowsAffectedBefore = *rows;
        *rows = 2;
        return Host(context).Record("command_execute " + std::to_string(ToNumber(command)), error);
    };
    table.command_close = [](void* context, void* command) {
        const auto number = ToNumber(command);
        ++Host(context).commands[number].closed;
        (void)Host(context).Record("command_close " + std::to_string(number), nullptr);
    };
    table.component_item = [](void* context, int32_t id, twu_component* component,
                              twu_error* error) {
        component->name = {"Shop", 4};
        component->folder = {"shop folder", 4};  // the length holds, not the NUL
        return Host(context).Record("component_item " + std::to_string(id), error);
    };
    table.upgrade_site_component = [](void* context, int32_t site, int32_t component,
                                      twu_error* error) {
        return Serve(context, "upgrade_site_component", site, component, error);
    };
    table.refresh_site_component = [](void* context, int32_t site, int32_t component,
                                      twu_error* error) {
        return Serve(context, "refresh_site_component", site, component, error);
    };
    table.initialise_site_component = [](void* context, int32_t site, int32_t component,
                                         twu_error* error) {
        return Serve(context, "initialise_site_component", site, component, error);
    };
    table.reset_site_component = [](void* context, int32_t site, int32_t component,
                                    twu_error* error) {
        return Serve(context, "reset_site_component", site, component, error);
    };
    table.refresh_application = [](void* context, twu_error* error) {
        return Host(context).Record("refresh_application", error);
    };
    table.install_folder = [](void* context, twu_text* folder, twu_error* error) {
        *folder = {Host(context).installFolder.data(), Host(context).installFolder.size()};
        return Host(context).Record("install_folder", error);
    };
    table.local_host_name = [](void* context, twu_text* name, twu_error* error) {
        *name = {Host(context).localHostName.data(), Host(context).localHostName.size()};
        return Host(context).Record("local_host_name", error);
    };
    table.ladder_starting = [](void* context, twu_ladder ladder, const char* database,
                               double version, twu_error* error) {
        return Host(context).Record(std::string("ladder_starting ") + twu_ladder_name(ladder) +
                                        " " + database + " " + Text(version),
                                    error);
    };
    table.ladder_ended = [](void* context, twu_ladder ladder, const char* database,
                            twu_error* error) {
        return Host(context).Record(
            std::string("ladder_ended ") + twu_ladder_name(ladder) + " " + database, error);
    };
    table.step_starting = [](void* context, const twu_step* step, const char* database,
                             twu_error* error) {
        return Host(context).Record(
            "step_starting " + std::to_string(step->number) + " " + step->name + " " + database,
            error);
    };
    table.step_ended = [](void* context, const twu_step* step, const char* database,
                          twu_error* error) {
        return Host(context).Record(
            "step_ended " + std::to_string(step->number) + " " + step->name + " " + database,
            error);
    };
    table.site_walk_starting = [](void* context, twu_error* error) {
        return Host(context).Record("site_walk_starting", error);
    };
    table.site_starting = [](void* context, int32_t site, double version, twu_error* error) {
        return Host(context).Record("site_starting " + std::to_string(site) + " " + Text(version),
                                    error);
    };
    table.site_ended = [](void* context, int32_t site, twu_error* error) {
        return Host(context).Record("site_ended " + std::to_string(site), error);
    };
    table.file_copied = [](void* context, const char* source, const char* destination,
                           twu_error* error) {
        return Host(context).Record(std::string("file_copied ") + source + " " + destination,
                                    error);
    };
    table.released = [](void* context) { ++Host(context).released; };
    return table;
}

twu_status FakeHost::Record(const std::string& line, twu_error* error) {
    log.push_back(line);
    for (const auto& [beginning, action] : actions) {
        if (line.starts_with(beginning)) {
            action();
        }
    }
    for (const auto& [beginning, failure] : failures) {
        if (line.starts_with(beginning) && error != nullptr) {
            if (!failure.saysNothing) {
                twu_error_set(error, failure.code, failure.sqlstate, failure.text);
            }
            if (failure.statement) {
                twu_error_set_statement(error, failure.statement->data(),
                                        failure.statement->size());
            }
            return failure.status;
        }
    }
    return TWU_OK;
}

std::vector<std::string> FakeHost::Lines(const std::vector<std::string>& words) const {
    std::vector<std::string> lines;
    for (const std::string& line : log) {
        for (const std::string& word : words) {
            if (line.starts_with(word)) {
                lines.push_back(line);
                break;
            }
        }
    }
    return lines;
}

int FakeHost::Unbalanced() const {
    int unbalanced = 0;
    for (const auto& result : results) {
        unbalanced += result.closed == 1 ? 0 : 1;
    }
    for (const auto& command : commands) {
        unbalanced += command.closed == 1 ? 0 : 1;
    }
    return unbalanced;
}

Configured::Configured(FakeHost& fake, const twu_host_callbacks& callbacks) {
    twu_host* host = nullptr;
    EXPECT_EQ(twu_host_new(&callbacks, &fake, &host), TWU_OK);
    EXPECT_EQ(twu_update_new(&update), TWU_OK);
    EXPECT_EQ(twu_configure(update, host), TWU_OK);
    twu_host_free(host);
}

Configured::~Configured() {
    twu_update_free(update);
}

std::string Configured::Statement() const {
    std::size_t size = 0;
    const char* text = twu_error_statement(Error(), &size);
    return {text, size};
}

}  // namespace capi_test
