/* A host in C: upgrades one site, or the whole installation, and prints how it goes on.
 *
 *     c_host OPTION-FILE INSTALL-FOLDER [SITE]
 *
 * OPTION-FILE is a MySQL option file with a [client] group (socket or host, user, password);
 * INSTALL-FOLDER holds the component's `resources` and is in the installation's root folder.
 *
 * The component asks this program for everything, through the callbacks below. main(), at the end,
 * is the use of the component. */

#include <ctype.h>
#include <mysql.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <twupdate/twupdate.h>

/* The context that every callback gets first. */
struct host {
    MYSQL* mysql;
    int64_t last_insert_id;
    const char* install_folder;
    struct result* component; /* holds the texts of the component that was asked for last */
};

/* --- statements ------------------------------------------------------------------------------- */

/* The rows of a query, copied from the server, so that other statements run while they are read. */
struct result {
    MYSQL_RES* rows; /* NULL for a statement without rows */
    MYSQL_ROW row;   /* NULL at the end */
    unsigned long* lengths;
};

/* What the server says goes into the error; the component adds the statement by itself. */
static twu_status fail(struct host* host, twu_error* error) {
    twu_error_set(error, mysql_errno(host->mysql), mysql_sqlstate(host->mysql),
                  mysql_error(host->mysql));
    return TWU_HOST_ERROR;
}

static twu_status result_next(void* context, void* handle, twu_error* error) {
    struct result* result = handle;
    (void)context;
    (void)error;
    result->row = result->rows == NULL ? NULL : mysql_fetch_row(result->rows);
    result->lengths = result->row == NULL ? NULL : mysql_fetch_lengths(result->rows);
    return TWU_OK;
}

static twu_status open_query(void* context, const char* sql, size_t size, void** handle,
                             twu_error* error) {
    struct host* host = context;
    struct result* result = calloc(1, sizeof *result);
    if (result == NULL) {
        return TWU_NO_MEMORY;
    }
    if (mysql_real_query(host->mysql, sql, (unsigned long)size) != 0 ||
        ((result->rows = mysql_store_result(host->mysql)) == NULL &&
         mysql_errno(host->mysql) != 0)) {
        free(result);
        return fail(host, error);
    }
    if (mysql_insert_id(host->mysql) != 0) {
        host->last_insert_id = (int64_t)mysql_insert_id(host->mysql);
    }
    *handle = result; /* comes back with every call that is about this result */
    return result_next(context, result, error);
}

static void result_close(void* context, void* handle) {
    struct result* result = handle;
    (void)context;
    mysql_free_result(result->rows);
    free(result);
}

static twu_status execute(void* context, const char* sql, size_t size, int64_t* rows_affected,
                          twu_error* error) {
    void* result = NULL;
    const twu_status status = open_query(context, sql, size, &result, error);
    (void)rows_affected; /* says "not known" as it is */
    if (status == TWU_OK) {
        result_close(context, result);
    }
    return status;
}

static twu_status last_insert_id(void* context, int64_t* id, twu_error* error) {
    const struct host* host = context;
    (void)error;
    *id = host->last_insert_id;
    return TWU_OK;
}

/* --- rows ------------------------------------------------------------------------------------- */

static int32_t result_eof(void* context, void* handle) {
    const struct result* result = handle;
    (void)context;
    return result->row == NULL;
}

static int same_name(const char* a, const char* b) {
    for (; tolower((unsigned char)*a) == tolower((unsigned char)*b); ++a, ++b) {
        if (*a == '\0') {
            return 1;
        }
    }
    return 0;
}

/* All values are text, as the server sends them: the component reads numbers from text. */
static twu_status result_field(void* context, void* handle, const char* column, twu_value* value,
                               twu_error* error) {
    const struct result* result = handle;
    const unsigned int count = mysql_num_fields(result->rows);
    unsigned int i = 0;
    (void)context;
    while (i < count && !same_name(mysql_fetch_field_direct(result->rows, i)->name, column)) {
        ++i;
    }
    if (i == count) {
        twu_error_set(error, 0, NULL, "there is no such column");
        return TWU_HOST_ERROR;
    }
    if (result->row[i] != NULL) { /* the value is NULL as it is */
        value->type = TWU_TEXT;
        value->as.text.data = result->row[i]; /* stays there as long as the result is open */
        value->as.text.size = result->lengths[i];
    }
    return TWU_OK;
}

/* --- commands --------------------------------------------------------------------------------- */

/* A statement with `?` parameters. The values are written into the text here, which has a `?`
 * nowhere else; a host with prepared statements binds them. */
struct command {
    char* sql;
    size_t sql_size;
    char* literals[8];
    size_t literal_count;
};

static twu_status command_new(void* context, void** handle, twu_error* error) {
    (void)context;
    (void)error;
    *handle = calloc(1, sizeof(struct command));
    return *handle == NULL ? TWU_NO_MEMORY : TWU_OK;
}

static twu_status command_add_parameter(void* context, void* handle, const twu_value* value,
                                        twu_error* error) {
    struct host* host = context;
    struct command* command = handle;
    const size_t text_size = value->type == TWU_TEXT ? value->as.text.size : 0;
    char* literal = NULL;
    char* end = NULL;
    if (command->literal_count == sizeof command->literals / sizeof *command->literals) {
        twu_error_set(error, 0, NULL, "more parameters than this program has room for");
        return TWU_HOST_ERROR;
    }
    literal = malloc(2 * text_size + 32);
    if (literal == NULL) {
        return TWU_NO_MEMORY;
    }
    switch (value->type) {
        case TWU_INTEGER:
            sprintf(literal, "%lld", (long long)value->as.integer);
            break;
        case TWU_REAL:
            sprintf(literal, "%.17g", value->as.real); /* reads back as the same number */
            break;
        case TWU_TEXT:
            literal[0] = '\'';
            end = literal + 1;
            end += mysql_real_escape_string(host->mysql, end, value->as.text.data,
                                            (unsigned long)text_size);
            strcpy(end, "'");
            break;
        default:
            strcpy(literal, "NULL");
    }
    command->literals[command->literal_count++] = literal;
    return TWU_OK;
}

static twu_status command_set_text(void* context, void* handle, const char* sql, size_t size,
                                   twu_error* error) {
    struct command* command = handle;
    char* copy = realloc(command->sql, size + 1);
    (void)context;
    (void)error;
    if (copy == NULL) {
        return TWU_NO_MEMORY;
    }
    memcpy(copy, sql, size);
    command->sql = copy;
    command->sql_size = size;
    return TWU_OK;
}

static twu_status command_open(void* context, void* handle, void** result, twu_error* error) {
    const struct command* command = handle;
    size_t size = command->sql_size;
    size_t next = 0;
    size_t i = 0;
    char* sql = NULL;
    char* end = NULL;
    twu_status status = TWU_OK;
    for (i = 0; i < command->literal_count; ++i) {
        size += strlen(command->literals[i]);
    }
    sql = malloc(size + 1);
    if (sql == NULL) {
        return TWU_NO_MEMORY;
    }
    end = sql;
    for (i = 0; i < command->sql_size; ++i) {
        if (command->sql[i] == '?' && next < command->literal_count) {
            const char* literal = command->literals[next++];
            memcpy(end, literal, strlen(literal));
            end += strlen(literal);
        } else {
            *end++ = command->sql[i];
        }
    }
    status = open_query(context, sql, (size_t)(end - sql), result, error);
    free(sql);
    return status;
}

static twu_status command_execute(void* context, void* handle, int64_t* rows_affected,
                                  twu_error* error) {
    void* result = NULL;
    const twu_status status = command_open(context, handle, &result, error);
    (void)rows_affected;
    if (status == TWU_OK) {
        result_close(context, result);
    }
    return status;
}

static void command_close(void* context, void* handle) {
    struct command* command = handle;
    (void)context;
    while (command->literal_count > 0) {
        free(command->literals[--command->literal_count]);
    }
    free(command->sql);
    free(command);
}

/* --- the platform ----------------------------------------------------------------------------- */

/* One component type of the platform, as the table `component` describes it. */
static twu_status component_item(void* context, int32_t id, twu_component* component,
                                 twu_error* error) {
    struct host* host = context;
    char sql[128];
    void* result = NULL;
    const int size = snprintf(sql, sizeof sql,
                              "SELECT componentname, foldername FROM tw_tarnwick.component "
                              "WHERE componentid = %ld",
                              (long)id);
    if (open_query(context, sql, (size_t)size, &result, error) != TWU_OK) {
        return TWU_HOST_ERROR;
    }
    if (host->component != NULL) {
        result_close(context, host->component);
    }
    host->component = result; /* keeps the texts until the next component */
    if (host->component->row == NULL) {
        twu_error_set(error, 0, NULL, "the installation does not have this component");
        return TWU_HOST_ERROR;
    }
    component->name.data = host->component->row[0];
    component->name.size = host->component->lengths[0];
    component->folder.data = host->component->row[1];
    component->folder.size = host->component->lengths[1];
    return TWU_OK;
}

/* A platform calls its own code in these; this program has no platform around it. */
static twu_status upgrade_site_component(void* context, int32_t site, int32_t component,
                                         twu_error* error) {
    (void)context;
    (void)error;
    printf("    service: upgrade component %ld of site %ld\n", (long)component, (long)site);
    return TWU_OK;
}

static twu_status refresh_site_component(void* context, int32_t site, int32_t component,
                                         twu_error* error) {
    (void)context;
    (void)error;
    printf("    service: refresh component %ld of site %ld\n", (long)component, (long)site);
    return TWU_OK;
}

static twu_status initialise_site_component(void* context, int32_t site, int32_t component,
                                            twu_error* error) {
    (void)context;
    (void)error;
    printf("    service: initialise component %ld of site %ld\n", (long)component, (long)site);
    return TWU_OK;
}

static twu_status reset_site_component(void* context, int32_t site, int32_t component,
                                       twu_error* error) {
    (void)context;
    (void)error;
    printf("    service: reset component %ld of site %ld\n", (long)component, (long)site);
    return TWU_OK;
}

static twu_status refresh_application(void* context, twu_error* error) {
    (void)context;
    (void)error;
    printf("    service: refresh the application\n");
    return TWU_OK;
}

static twu_status install_folder(void* context, twu_text* folder, twu_error* error) {
    const struct host* host = context;
    (void)error;
    folder->data = host->install_folder;
    folder->size = strlen(host->install_folder);
    return TWU_OK;
}

/* --- the observer: any of these may return TWU_STOPPED to end the run there ---------------------
 */

static twu_status site_starting(void* context, int32_t site, double version, twu_error* error) {
    (void)context;
    (void)error;
    printf("site %ld is at %.4f\n", (long)site, version);
    return TWU_OK;
}

static twu_status step_starting(void* context, const twu_step* step, const char* database,
                                twu_error* error) {
    (void)context;
    (void)error;
    printf("  %s on %s: %s\n", step->name, database, step->description);
    return TWU_OK;
}

static twu_status site_ended(void* context, int32_t site, twu_error* error) {
    (void)context;
    (void)error;
    printf("site %ld is done\n", (long)site);
    return TWU_OK;
}

/* --- the use ---------------------------------------------------------------------------------- */

static int connect_to_server(struct host* host, const char* option_file) {
    /* The component escapes texts with backslashes. */
    static const char sql_mode[] =
        "SET SESSION sql_mode = REPLACE(@@sql_mode, 'NO_BACKSLASH_ESCAPES', '')";
    host->mysql = mysql_init(NULL);
    mysql_options(host->mysql, MYSQL_READ_DEFAULT_FILE, option_file);
    mysql_options(host->mysql, MYSQL_READ_DEFAULT_GROUP, "client");
    mysql_options(host->mysql, MYSQL_SET_CHARSET_NAME, "utf8mb4");
    return mysql_real_connect(host->mysql, NULL, NULL, NULL, NULL, 0, NULL, 0) != NULL &&
           mysql_query(host->mysql, sql_mode) == 0;
}

/* The number in the first row; -1, after a message, where there is none. */
static double read_number(struct host* host, const char* sql) {
    MYSQL_RES* rows = mysql_query(host->mysql, sql) == 0 ? mysql_store_result(host->mysql) : NULL;
    const MYSQL_ROW row = rows == NULL ? NULL : mysql_fetch_row(rows);
    const double number = row == NULL || row[0] == NULL ? -1 : atof(row[0]);
    if (number < 0) {
        fprintf(stderr, "c_host: no number from %s %s\n", sql, mysql_error(host->mysql));
    }
    mysql_free_result(rows);
    return number;
}

static twu_status upgrade(twu_update* update, struct host* host, long site) {
    char sql[128];
    double version = 0;
    twu_status status = TWU_OK;
    if (site == 0) {
        /* The central database, then all sites. The component writes the versions itself. */
        version = read_number(host, "SELECT version FROM tw_tarnwick.installation");
        return version < 0 ? TWU_HOST_ERROR : twu_update_server(update, version, NULL);
    }
    /* One site. Its version stands in the central database; the host writes the new one. */
    snprintf(sql, sizeof sql, "SELECT version FROM tw_tarnwick.site WHERE siteid = %ld", site);
    version = read_number(host, sql);
    if (version < 0) {
        return TWU_HOST_ERROR;
    }
    status = twu_update_site(update, (int32_t)site, version, NULL);
    snprintf(sql, sizeof sql, "UPDATE tw_tarnwick.site SET version = %.4f WHERE siteid = %ld",
             TWU_CURRENT_VERSION, site);
    if (status == TWU_OK && mysql_query(host->mysql, sql) != 0) {
        fprintf(stderr, "c_host: the version was not written: %s\n", mysql_error(host->mysql));
        status = TWU_HOST_ERROR;
    }
    return status;
}

/* What was done stays done; when the cause is gone, the same call goes on from there. */
static void tell(const twu_error* error) {
    fprintf(stderr, "c_host: %s: %s", twu_status_name(twu_error_status(error)),
            twu_error_text(error));
    if (twu_error_code(error) != 0) { /* the server's */
        fprintf(stderr, " (error %lu, SQLSTATE %s)", (unsigned long)twu_error_code(error),
                twu_error_sqlstate(error));
    }
    if (*twu_error_statement(error, NULL) != '\0') {
        fprintf(stderr, "\n  in: %s", twu_error_statement(error, NULL));
    }
    fprintf(stderr, "\n");
}

int main(int argc, char** argv) {
    struct host host;
    twu_host_callbacks callbacks;
    twu_host* handle = NULL;
    twu_update* update = NULL;
    const twu_error* error = NULL;
    twu_status status = TWU_OK;

    if (argc < 3) {
        fprintf(stderr, "usage: c_host OPTION-FILE INSTALL-FOLDER [SITE]\n");
        return 2;
    }
    memset(&host, 0, sizeof host);
    host.install_folder = argv[2];
    if (!connect_to_server(&host, argv[1])) {
        fprintf(stderr, "c_host: %s\n", mysql_error(host.mysql));
        return 1;
    }

    memset(&callbacks, 0, sizeof callbacks); /* what is not set below gets its default */
    callbacks.size = sizeof callbacks;
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
    callbacks.component_item = component_item;
    callbacks.upgrade_site_component = upgrade_site_component;
    callbacks.refresh_site_component = refresh_site_component;
    callbacks.initialise_site_component = initialise_site_component;
    callbacks.reset_site_component = reset_site_component;
    callbacks.refresh_application = refresh_application;
    callbacks.install_folder = install_folder;
    callbacks.site_starting = site_starting;
    callbacks.step_starting = step_starting;
    callbacks.site_ended = site_ended;

    if (twu_host_new(&callbacks, &host, &handle) != TWU_OK || twu_update_new(&update) != TWU_OK ||
        twu_configure(update, handle) != TWU_OK) {
        /* As long as there is no update, its pointer is NULL: then it is the thread's last error.
         */
        fprintf(stderr, "c_host: %s\n", twu_error_text(twu_last_error(update)));
        return 1;
    }
    twu_host_free(handle); /* the update has a reference of its own */

    status = upgrade(update, &host, argc > 3 ? atol(argv[3]) : 0);
    error = twu_last_error(update);
    if (status == TWU_OK) {
        printf("done\n");
    } else if (twu_error_status(error) != TWU_OK) { /* otherwise it has been reported already */
        tell(error);
    }

    twu_update_free(update); /* and with it the host's last reference */
    if (host.component != NULL) {
        result_close(&host, host.component);
    }
    mysql_close(host.mysql);
    return status == TWU_OK ? 0 : 1;
}
