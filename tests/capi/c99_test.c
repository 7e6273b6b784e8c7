/* A caller in C99: every function and every callback is used from C at least once. */

#include <stdio.h>
#include <string.h>

#include "twupdate/twupdate.h"

static int failures = 0;

#define CHECK(condition)                                                            \
    do {                                                                            \
        if (!(condition)) {                                                         \
            fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
            ++failures;                                                             \
        }                                                                           \
    } while (0)

struct host {
    int statements;
    int open_results;
    int open_commands;
    int steps;
    int stop_at_step; /* 0: never */
    int is_released;
    double parameter;
};

static twu_status execute(void* context, const char* sql, size_t sql_size, int64_t* rows_affected,
                          twu_error* error) {
    struct host* host = context;
    (void)error;
    CHECK(strlen(sql) == sql_size);
    *rows_affected = 0;
    ++host->statements;
    return TWU_OK;
}

/* Every query but that of the sites is answered by no rows. A result is the number of rows left. */
struct result {
    int rows_left;
};
static struct result no_rows = {0};
static struct result one_site = {1};

static twu_status open_query(void* context, const char* sql, size_t sql_size, void** result,
                             twu_error* error) {
    struct host* host = context;
    (void)sql;
    (void)sql_size;
    (void)error;
    ++host->open_results;
    *result = &no_rows;
    return TWU_OK;
}

static twu_status last_insert_id(void* context, int64_t* id, twu_error* error) {
    (void)context;
    (void)error;
    *id = 1;
    return TWU_OK;
}

static int32_t result_eof(void* context, void* result) {
    (void)context;
    return ((struct result*)result)->rows_left == 0;
}

static twu_status result_field(void* context, void* result, const char* column, twu_value* value,
                               twu_error* error) {
    (void)context;
    (void)result;
    if (strcmp(column, "siteid") == 0) {
        value->type = TWU_INTEGER;
        value->as.integer = 7;
        return TWU_OK;
    }
    if (strcmp(column, "version") == 0) {
        value->type = TWU_TEXT;
        value->as.text.data = "1.0263 and more";
        value->as.text.size = 6;
        return TWU_OK;
    }
    twu_error_set(error, 1054, "42S22", "Unknown column");
    return TWU_HOST_ERROR;
}

static twu_status result_next(void* context, void* result, twu_error* error) {
    (void)context;
    (void)error;
    --((struct result*)result)->rows_left;
    return TWU_OK;
}

static void result_close(void* context, void* result) {
    struct host* host = context;
    (void)result;
    --host->open_results;
}

static twu_status command_new(void* context, void** command, twu_error* error) {
    struct host* host = context;
    (void)error;
    ++host->open_commands;
    *command = NULL;
    return TWU_OK;
}

static twu_status command_add_parameter(void* context, void* command, const twu_value* value,
                                        twu_error* error) {
    struct host* host = context;
    (void)error;
    CHECK(command == NULL);
    CHECK(value->type == TWU_REAL);
    host->parameter = value->as.real;
    return TWU_OK;
}

static twu_status command_set_text(void* context, void* command, const char* sql, size_t sql_size,
                                   twu_error* error) {
    (void)context;
    (void)command;
    (void)sql;
    (void)sql_size;
    (void)error;
    return TWU_OK;
}

static twu_status command_open(void* context, void* command, void** result, twu_error* error) {
    struct host* host = context;
    (void)command;
    (void)error;
    ++host->open_results;
    one_site.rows_left = 1;
    *result = &one_site;
    return TWU_OK;
}

static twu_status command_execute(void* context, void* command, int64_t* rows_affected,
                                  twu_error* error) {
    (void)context;
    (void)command;
    (void)error;
    *rows_affected = 1;
    return TWU_OK;
}

static void command_close(void* context, void* command) {
    struct host* host = context;
    (void)command;
    --host->open_commands;
}

static twu_status step_starting(void* context, const twu_step* step, const char* database,
                                twu_error* error) {
    struct host* host = context;
    (void)error;
    CHECK(strcmp(database, "tw_7") == 0);
    CHECK(step->name != NULL && step->description != NULL);
    ++host->steps;
    return host->steps == host->stop_at_step ? TWU_STOPPED : TWU_OK;
}

static twu_status file_copied(void* context, const char* source, const char* destination,
                              twu_error* error) {
    (void)context;
    (void)error;
    CHECK(strlen(source) > 0 && strlen(destination) > 0);
    return TWU_OK;
}

static void released(void* context) {
    struct host* host = context;
    host->is_released = 1;
}

static twu_status get_setting(void* cart, const char* name, twu_value* value, twu_error* error) {
    (void)error;
    value->type = TWU_INTEGER;
    value->as.integer = strcmp(name, cart) == 0 ? -1 : 0;
    return TWU_OK;
}

int main(void) {
    static const twu_cart_settings names = {"name",      "organization", "address",  "country",
                                            "post code", "e-mail",       "telephone"};
    struct host host;
    twu_host_callbacks callbacks;
    twu_host* handle = NULL;
    twu_update* update = NULL;
    int32_t result = 0;
    const char* sequence = NULL;
    const twu_step* pending[1];
    size_t site_steps = 0;
    size_t size = 0;
    char email[] = "e-mail";

    memset(&host, 0, sizeof host);
    memset(&callbacks, 0, sizeof callbacks);
    callbacks.size = sizeof callbacks;
    CHECK(twu_host_new(&callbacks, &host, &handle) == TWU_INVALID_ARGUMENT);
    CHECK(twu_error_status(twu_last_error(NULL)) == TWU_INVALID_ARGUMENT);

    callbacks.execute = execute;
    callbacks.open_query = open_query;
    callbacks.last_insert_id = last_insert_id;
    callbacks.result_eof = result_eof;
    callbacks.result_field = result_field;
    callbacks.result_next = result_next;
    callbacks.result_close = result_close;
    callbacks.command_new = command_new;
    callbacks.command_add_parameter = command_add_parameter;
    callbacks.command_set_text = command_set_text;
    callbacks.command_open = command_open;
    callbacks.command_execute = command_execute;
    callbacks.command_close = command_close;
    callbacks.step_starting = step_starting;
    callbacks.file_copied = file_copied;
    callbacks.released = released;
    CHECK(twu_host_new(&callbacks, &host, &handle) == TWU_OK);
    CHECK(twu_update_new(&update) == TWU_OK);
    CHECK(twu_configure(update, handle) == TWU_OK);
    twu_host_free(handle);

    /* The site is at 1.0263: its first step creates one table here. */
    site_steps = twu_pending_steps(TWU_SITE_SCHEMA, 1.0263, pending, 1) +
                 twu_pending_steps(TWU_SITE_CONTENT, 1.0263, NULL, 0);
    CHECK(strcmp(pending[0]->name, "SiteSchemaStep_1_0264") == 0);
    CHECK(twu_update_server(update, 1.0264, &result) == TWU_OK);
    CHECK(result == -1);
    CHECK((size_t)host.steps == site_steps);
    CHECK(host.statements >= 1);
    CHECK(host.parameter == TWU_CURRENT_VERSION);
    CHECK(host.open_results == 0);
    CHECK(host.open_commands == 0);

    host.stop_at_step = host.steps + 1;
    CHECK(twu_update_site(update, 7, 1.0263, &result) == TWU_STOPPED);
    CHECK(result == 0);
    CHECK(twu_error_status(twu_last_error(update)) == TWU_STOPPED);
    CHECK(twu_error_code(twu_last_error(update)) == 0);
    CHECK(strcmp(twu_error_sqlstate(twu_last_error(update)), "") == 0);
    CHECK(strcmp(twu_error_text(twu_last_error(update)), "a callback requested a stop") == 0);
    CHECK(strcmp(twu_error_statement(twu_last_error(update), &size), "") == 0);
    CHECK(size == 0);

    CHECK(twu_update_import_master_data(update, 0, 1.0, &result) == TWU_OK);
    CHECK(result == 0);
    CHECK(twu_create_core_db(update, &result) == TWU_OK);
    CHECK(result == -1);
    CHECK(twu_create_cart_field_sequence(update, get_setting, email, &names, &sequence) == TWU_OK);
    CHECK(strcmp(sequence, "6,9") == 0);

    CHECK(twu_shut_down(update) == TWU_OK);
    CHECK(host.is_released);
    twu_update_free(update);

    CHECK(strncmp(twu_version(), "1.", 2) == 0);
    CHECK(twu_ladder_size(TWU_SERVER) >= 18);
    CHECK(strcmp(twu_ladder_name(TWU_SERVER), "server") == 0);
    CHECK(strcmp(twu_ladder_step(TWU_SERVER, 0)->name, "ServerStep_1_0002") == 0);
    CHECK(strcmp(twu_status_name(TWU_STOPPED), "TWU_STOPPED") == 0);
    return failures == 0 ? 0 : 1;
}
