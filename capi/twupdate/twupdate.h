#ifndef TWUPDATE_TWUPDATE_H
#define TWUPDATE_TWUPDATE_H

/**
 * @file
 * The component's interface for C and for languages that call C.
 *
 * The host fills a `twu_host_callbacks` with its operations, makes a `twu_host` of it, makes a
 * `twu_update`, configures it with the host, and calls the operations. docs/c-interface.md goes
 * through this step by step, with examples in C and Python.
 *
 * Rules that hold everywhere
 *
 * - **Status.** A function that can fail returns a `twu_status`, TWU_OK (0) on success. What went
 *   wrong is then reported by `twu_last_error`. No C++ exception leaves a function.
 * - **Texts** are bytes in the character set of the host's connection, with an explicit length,
 *   and may hold any byte, NUL included. A text that the component hands out is also followed by
 *   a NUL. Names (columns, databases, steps, components) never hold one.
 * - **Ownership.** Whoever makes a thing frees it: handles of this interface with their `_free`
 *   function; results and commands of the host in its callbacks `result_close` and
 *   `command_close`. A text or value passed to a callback is valid during that call. A text or
 *   value that a callback hands out must be valid until the next callback of the same host is
 *   called, and is copied before that.
 * - **Threads.** Every operation runs to its end on the caller's thread, and calls the callbacks on
 *   that thread. One `twu_update` serves one caller at a time; two of them share nothing, and may
 *   run on two threads, as long as their hosts' callbacks allow it.
 * - **Callbacks** must return: no C++ exception and no longjmp may leave them. They must not call
 *   the functions of the `twu_update` on whose behalf they are called.
 * - **Booleans** that come from the component are -1 for true and 0 for false; of a Boolean that
 * the host hands over everything but 0 is true.
 */

/* This header is C. NOLINTBEGIN(modernize-*) */

#include <stddef.h>
#include <stdint.h>

/* TWU_CURRENT_VERSION: the version that every completed upgrade records. */
#include "twupdate/ladders.def"

#if defined(__GNUC__)
/** Marks a function of this interface: what the shared library exports. */
#define TWU_API __attribute__((visibility("default")))
#else
#define TWU_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** @name Status codes
 * @{ */

/** What a function, or a callback, came to. */
typedef int32_t twu_status;

enum {
    /** Done. */
    TWU_OK = 0,
    /** The host, or the server behind it, refused; the error has the statement, the server's code
     * and SQLSTATE. */
    TWU_HOST_ERROR = 1,
    /** A stored value could not be read as the number or text that was needed, or a number was out
     * of range. */
    TWU_CONVERSION_ERROR = 2,
    /** A folder or file could not be made, read or copied. */
    TWU_FILE_ERROR = 3,
    /** A reference data file has a line with too few fields. */
    TWU_DATA_FILE_ERROR = 4,
    /** A site step needs something of the central database that only a later version of it has:
     * run `twu_update_server` first. */
    TWU_OUTDATED_CENTRAL_DATABASE = 5,
    /** A statement was due, but the `twu_update` has no host: call `twu_configure` first. */
    TWU_NOT_CONFIGURED = 6,
    /** There was not enough memory. */
    TWU_NO_MEMORY = 7,
    /** A callback asked to stop. */
    TWU_STOPPED = 8,
    /** An argument cannot be: a NULL handle, a required callback that is missing. Nothing was
     * done. */
    TWU_INVALID_ARGUMENT = 9,
    /** Anything else; the text tells. */
    TWU_OTHER = 10
};

/** The name of a status, e.g. "TWU_HOST_ERROR"; "unknown status" for a number that is none. */
TWU_API const char* twu_status_name(twu_status status);

/** @}
 * @name Errors
 * @{ */

/**
 * What is known of a failure. A failing callback fills one with `twu_error_set`; the error of a
 * failed function is read with `twu_last_error` and the functions below.
 */
typedef struct twu_error twu_error;

/**
 * For a callback that fails: what the server or the host says. The callback then returns
 * TWU_HOST_ERROR. The texts are copied.
 * @param error     the error that the callback was given
 * @param code      the server's or client library's error number; 0 where there is none
 * @param sqlstate  five characters; NULL or "" where there is none
 * @param text      the error's own words; NULL counts as ""
 */
TWU_API void twu_error_set(twu_error* error, uint32_t code, const char* sqlstate, const char* text);

/**
 * For a callback that fails: the statement that failed, where it is not the one that the callback
 * was given. Without this call the component fills in the statement of the call, or of the result
 * or command that the call was about.
 */
TWU_API void twu_error_set_statement(twu_error* error, const char* statement, size_t size);

/** TWU_OK when there is no error. */
TWU_API twu_status twu_error_status(const twu_error* error);
/** The server's or client library's error number; 0 where there is none. */
TWU_API uint32_t twu_error_code(const twu_error* error);
/** The five-character SQLSTATE; "" where there is none. */
TWU_API const char* twu_error_sqlstate(const twu_error* error);
/** The error in words; "" when there is no error. */
TWU_API const char* twu_error_text(const twu_error* error);
/**
 * The statement that failed, the name and arguments of the service or the name of the observer's
 * method; "" where there is none.
 * @param error  the error, or NULL
 * @param size   receives its length in bytes; may be NULL
 */
TWU_API const char* twu_error_statement(const twu_error* error, size_t* size);

/** @}
 * @name Values
 * @{ */

/** Bytes with a length. */
typedef struct twu_text {
    const char* data; /**< the bytes; may be NULL when there are none */
    size_t size;      /**< their number */
} twu_text;

/** The types of a value. */
enum {
    TWU_NULL = 0,    /**< NULL */
    TWU_INTEGER = 1, /**< `as.integer` */
    TWU_REAL = 2,    /**< `as.real` */
    TWU_TEXT = 3     /**< `as.text` */
};

/**
 * One value of a row, a parameter or a setting. DECIMAL, date and time values are text. A host
 * whose client library returns every value as text may hand out text for numbers as well: where a
 * number is needed, its decimal notation is read.
 */
typedef struct twu_value {
    int32_t type; /**< TWU_NULL, TWU_INTEGER, TWU_REAL or TWU_TEXT */
    union {
        int64_t integer;
        double real;
        twu_text text;
    } as; /**< the content, by type; none for TWU_NULL */
} twu_value;

/** @}
 * @name Ladders
 *
 * A ladder is an ordered list of steps. A database at a version runs the steps whose threshold its
 * version is strictly below.
 * @{ */

/** The ladders. */
typedef int32_t twu_ladder;

enum {
    TWU_SITE_SCHEMA = 0,  /**< tables and columns of a site database */
    TWU_SITE_CONTENT = 1, /**< stored data of a site database */
    TWU_SERVER = 2,       /**< first run on the central database: its tables and columns */
    TWU_SERVER_DATA = 3   /**< second run on the central database: its data */
};

/** One step of a ladder. All of it lives as long as the library is loaded. */
typedef struct twu_step {
    twu_ladder ladder;       /**< the ladder that it is part of */
    int32_t number;          /**< position in its ladder, from 1 */
    double threshold;        /**< runs when the version is strictly below */
    const char* name;        /**< e.g. "SiteSchemaStep_1_0001" */
    const char* description; /**< what it does, in one line */
} twu_step;

/** The release of the library that is loaded, e.g. "1.0.265". */
TWU_API const char* twu_version(void);

/** TWU_CURRENT_VERSION of the library that is loaded, for languages that read no headers. */
TWU_API double twu_current_version(void);

/** "site schema", "site content", "server" or "server data"; "" for a number that is no ladder. */
TWU_API const char* twu_ladder_name(twu_ladder ladder);

/** The number of steps of a ladder; 0 for a number that is no ladder. */
TWU_API size_t twu_ladder_size(twu_ladder ladder);

/**
 * One step of a ladder.
 * @param ladder  the ladder
 * @param index   from 0, in the order in which the steps run
 * @return the step; NULL when there is no such step (or no memory for the list)
 */
TWU_API const twu_step* twu_ladder_step(twu_ladder ladder, size_t index);

/**
 * The steps that a database at `version` would run, in order.
 * @param ladder    the ladder
 * @param version   the database's version; NaN runs every step
 * @param steps     receives up to `capacity` of them; may be NULL when `capacity` is 0
 * @param capacity  places in `steps`
 * @return how many there are, which may be more than `capacity`
 */
TWU_API size_t twu_pending_steps(twu_ladder ladder, double version, const twu_step** steps,
                                 size_t capacity);

/** @}
 * @name The host
 * @{ */

/** A component type of the platform, as `component_item` hands it out. */
typedef struct twu_component {
    twu_text name;   /**< for people */
    twu_text folder; /**< the name of its folder under the installation's `components` folder */
} twu_component;

/**
 * The host's operations. Set every byte to 0 first, then `size`, then the callbacks: callbacks that
 * later versions add are then missing and get their defaults.
 *
 * Every callback gets the `context` that was passed to `twu_host_new`. One that can fail returns
 * TWU_OK or, after it has filled the error, TWU_HOST_ERROR; TWU_STOPPED ends the run with that
 * status, TWU_NO_MEMORY likewise; any other status counts as TWU_HOST_ERROR. A failure ends the
 * run where it stands.
 *
 * A *result* and a *command* are the host's own: a pointer, or a number kept in one, that means
 * something to the host alone. NULL is as good as any other.
 */
typedef struct twu_host_callbacks {
    /** sizeof(twu_host_callbacks) */
    size_t size;

    /* Statements. Required. All run on one connection. */

    /**
     * Runs one statement to its end and discards whatever rows it returns.
     * @param sql            the statement, `sql_size` bytes
     * @param rows_affected  is -1 and may be set to the number of rows changed; nothing reads it
     */
    twu_status (*execute)(void* context, const char* sql, size_t sql_size, int64_t* rows_affected,
                          twu_error* error);
    /**
     * Runs one statement and hands out its rows; a statement without rows gives an empty result.
     * Any statement may run while the result is open, so that it must be independent of the
     * connection: with MySQL's client library stored, not used row by row.
     */
    twu_status (*open_query)(void* context, const char* sql, size_t sql_size, void** result,
                             twu_error* error);
    /** The AUTO_INCREMENT id made by the connection's last INSERT. */
    twu_status (*last_insert_id)(void* context, int64_t* id, twu_error* error);

    /* Results of open_query, open_reader and command_open. Required. */

    /** Not 0 when there is no current row: an empty result, or past the last row. */
    int32_t (*result_eof)(void* context, void* result);
    /**
     * The value of a column in the current row.
     * @param column  its name, compared without regard to letter case; a name that the result does
     *                not have is an error
     * @param value   is NULL (TWU_NULL) and may be set
     */
    twu_status (*result_field)(void* context, void* result, const char* column, twu_value* value,
                               twu_error* error);
    /** Goes to the next row, or to the end. */
    twu_status (*result_next)(void* context, void* result, twu_error* error);
    /** Frees the result. Called exactly once for each result that was opened. */
    void (*result_close)(void* context, void* result);

    /* Commands: statements with parameters. Required. */

    /** A new command without text or parameters. */
    twu_status (*command_new)(void* context, void** command, twu_error* error);
    /** Binds a copy of the value to the next `?` of the text, in order. */
    twu_status (*command_add_parameter)(void* context, void* command, const twu_value* value,
                                        twu_error* error);
    /** Sets the text. The bound parameters stay, so that one command can run several texts. */
    twu_status (*command_set_text)(void* context, void* command, const char* sql, size_t sql_size,
                                   twu_error* error);
    /** Runs the command and hands out its rows, in a result that outlives the command. */
    twu_status (*command_open)(void* context, void* command, void** result, twu_error* error);
    /** Runs the command; `rows_affected` as in `execute`. */
    twu_status (*command_execute)(void* context, void* command, int64_t* rows_affected,
                                  twu_error* error);
    /** Frees the command. Called exactly once for each command that was made. */
    void (*command_close)(void* context, void* command);

    /* Everything below may be NULL. */

    /** Like open_query, for the inspections of the schema. The default is open_query. */
    twu_status (*open_reader)(void* context, const char* sql, size_t sql_size, void** result,
                              twu_error* error);

    /* The platform's component services. A run that needs one that is missing fails with
     * TWU_HOST_ERROR. */

    /** The definition of a component type; an id that the installation does not have is an error.
     */
    twu_status (*component_item)(void* context, int32_t component_id, twu_component* component,
                                 twu_error* error);
    /** Brings the component's stored data in the site to the current layout. */
    twu_status (*upgrade_site_component)(void* context, int32_t site_id, int32_t component_id,
                                         twu_error* error);
    /** Renews what the component derives from its definition (texts, events, default styles). */
    twu_status (*refresh_site_component)(void* context, int32_t site_id, int32_t component_id,
                                         twu_error* error);
    /** Sets the component up in a site that does not have it yet. */
    twu_status (*initialise_site_component)(void* context, int32_t site_id, int32_t component_id,
                                            twu_error* error);
    /** Drops what the platform has cached of the component in the site. */
    twu_status (*reset_site_component)(void* context, int32_t site_id, int32_t component_id,
                                       twu_error* error);
    /** Makes the running platform load its settings and components again. */
    twu_status (*refresh_application)(void* context, twu_error* error);

    /* The installation. */

    /**
     * The folder in which the component is installed: which contains `resources`; its parent is the
     * installation root (`templates`, `wwwroot`, `sites_secure`, `components`). The default is the
     * folder of the library, or of the program that it is linked into.
     */
    twu_status (*install_folder)(void* context, twu_text* folder, twu_error* error);
    /**
     * The host name under which the installation answers on the local machine, registered as a
     * domain of the root site. The default is "localhost".
     */
    twu_status (*local_host_name)(void* context, twu_text* name, twu_error* error);

    /* The observer: follows the progress of a run. TWU_STOPPED from any of these ends the run
     * there. Failures are not reported: the step or site that started and did not end is the one
     * that failed. */

    /** A ladder is about to be walked for a database at `version`, which may be NaN. */
    twu_status (*ladder_starting)(void* context, twu_ladder ladder, const char* database,
                                  double version, twu_error* error);
    /** The ladder has been walked. */
    twu_status (*ladder_ended)(void* context, twu_ladder ladder, const char* database,
                               twu_error* error);
    /** A step is about to run. Called for the steps that run, not for those skipped. */
    twu_status (*step_starting)(void* context, const twu_step* step, const char* database,
                                twu_error* error);
    /** The step has run. */
    twu_status (*step_ended)(void* context, const twu_step* step, const char* database,
                             twu_error* error);
    /** The server ladders have ended and the walk over the sites is about to begin. */
    twu_status (*site_walk_starting)(void* context, twu_error* error);
    /** A site is about to be upgraded from `version`. */
    twu_status (*site_starting)(void* context, int32_t site_id, double version, twu_error* error);
    /** Both ladders of the site have ended and, in the site walk, its version is recorded. */
    twu_status (*site_ended)(void* context, int32_t site_id, twu_error* error);

    /** Nothing refers to the host any more: the context may be freed. The last callback. */
    void (*released)(void* context);

    /* Added after the first version of this table. */

    /** Of the observer: a template file has been copied to a site's folder. The paths end with a
     * NUL. */
    twu_status (*file_copied)(void* context, const char* source, const char* destination,
                              twu_error* error);
} twu_host_callbacks;

/** The host's callbacks and context, counted: a `twu_update` keeps what it is configured with. */
typedef struct twu_host twu_host;

/**
 * Makes a host.
 * @param callbacks  is copied
 * @param context    is passed to every callback
 * @param host       receives the host, NULL on failure
 * @return TWU_INVALID_ARGUMENT when a required callback is missing, `callbacks->size` is too small,
 *         or a callback is set that this version of the library does not know;
 *         `twu_last_error(NULL)` tells which
 */
TWU_API twu_status twu_host_new(const twu_host_callbacks* callbacks, void* context,
                                twu_host** host);

/** Gives the caller's reference up. An update that is configured with the host keeps its own.
 * NULL does nothing. */
TWU_API void twu_host_free(twu_host* host);

/** @}
 * @name The update
 * @{ */

/**
 * Creates the central database and brings the central database and the site databases from any
 * older version to the current one.
 *
 * A failure ends an operation at once; nothing is rolled back and no version is recorded for a
 * database whose ladders did not end, so that the same call, made again, resumes the work.
 *
 * Versions are doubles with four decimals, 1.0000 to TWU_CURRENT_VERSION. A version that is not a
 * number runs every step.
 */
typedef struct twu_update twu_update;

/** Makes an update that is not configured. @param update receives it, NULL on failure */
TWU_API twu_status twu_update_new(twu_update** update);

/** Shuts the update down and frees it. NULL does nothing. */
TWU_API void twu_update_free(twu_update* update);

/**
 * The error of the last function that was called with this update; no error (TWU_OK) when it
 * succeeded. Valid until the next function is called with the update.
 * @param update  NULL: the error of the last function on this thread that had no update to keep it
 *                (`twu_host_new`, `twu_update_new`, a call with a NULL handle)
 */
TWU_API const twu_error* twu_last_error(const twu_update* update);

/** Takes a reference to the host; an earlier one is given up. */
TWU_API twu_status twu_configure(twu_update* update, twu_host* host);

/** Gives the host up. Harmless when there is none. */
TWU_API twu_status twu_shut_down(twu_update* update);

/**
 * Runs the server ladders on the copies of the central tables (prefix `tw_`) that the database of
 * an imported site carries.
 * @param update   the update
 * @param site_id  the site
 * @param version  the version of those copies
 * @param result   receives -1, or 0, with nothing done, when `site_id` is not above 0; may be NULL
 */
TWU_API twu_status twu_update_import_master_data(twu_update* update, int32_t site_id,
                                                 double version, int32_t* result);

/**
 * Brings the central database from `version` to the current version, then every site that is older,
 * recording each site's version as it is done and the installation's at the end. Does nothing when
 * `version` is current or the update is not configured.
 * @param update   the update
 * @param version  the installation's version, tw_tarnwick.installation.version
 * @param result   receives -1; may be NULL
 */
TWU_API twu_status twu_update_server(twu_update* update, double version, int32_t* result);

/**
 * Brings one site database from `version` to the current version. Does not record the site's new
 * version: the host does, in tw_tarnwick.site.version.
 * @param update   the update
 * @param site_id  the site
 * @param version  the version of its database
 * @param result   receives -1; may be NULL
 */
TWU_API twu_status twu_update_site(twu_update* update, int32_t site_id, double version,
                                   int32_t* result);

/** The names of a cart's seven Boolean show settings for one address block. */
typedef struct twu_cart_settings {
    const char* name;         /**< position 0 */
    const char* organization; /**< position 1 */
    const char* address;      /**< positions 1 to 5 */
    const char* country;      /**< position 8 */
    const char* post_code;    /**< position 7 */
    const char* email;        /**< position 9 */
    const char* telephone;    /**< position 10 */
} twu_cart_settings;

/**
 * Reads one setting of a cart.
 * @param cart   what was passed to `twu_create_cart_field_sequence`
 * @param name   the setting's name
 * @param value  is NULL (TWU_NULL), which stands for a setting that is not stored, and may be set
 * @param error  to be filled on failure, as by the host's callbacks
 */
typedef twu_status (*twu_get_setting)(void* cart, const char* name, twu_value* value,
                                      twu_error* error);

/**
 * The comma-separated field positions that a cart shows for one address block, e.g.
 * "0,1,2,3,4,5,6,7,8,9,10" with all settings true and "6" with none.
 * @param update       the update; needs no host
 * @param get_setting  reads the cart's settings
 * @param cart         is passed to `get_setting`
 * @param settings     the names to ask for
 * @param sequence     receives the text, which lives until the next function is called with the
 * update
 */
TWU_API twu_status twu_create_cart_field_sequence(twu_update* update, twu_get_setting get_setting,
                                                  void* cart, const twu_cart_settings* settings,
                                                  const char** sequence);

/**
 * Creates the central database at the current version with its reference data.
 * @param update  the update
 * @param result  receives -1, or 0, with nothing done, when a database of that name exists; may be
 *                NULL
 */
TWU_API twu_status twu_create_core_db(twu_update* update, int32_t* result);

/** @} */

#ifdef __cplusplus
}
#endif

/* NOLINTEND(modernize-*) */

#endif
