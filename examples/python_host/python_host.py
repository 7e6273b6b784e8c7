#!/usr/bin/python3
"""A host in Python: upgrades one site, or the whole installation, and prints how it goes on.

    python_host.py OPTION-FILE INSTALL-FOLDER [SITE]

OPTION-FILE is a MySQL option file with a [client] group (socket or host, user, password);
INSTALL-FOLDER holds the component's `resources` and is in the installation's root folder.

Nothing but Python's own library is needed: ctypes reaches both the component (libtwupdate, through
twupdate.h) and the server (MariaDB's client library). The component asks this program for
everything, through the methods of the class Host.
"""

import ctypes
import os
import sys
from ctypes import (CFUNCTYPE, POINTER, Structure, Union, byref, c_char_p, c_double, c_int32,
                    c_int64, c_size_t, c_uint, c_uint32, c_ulong, c_ulonglong, c_void_p)

# --- twupdate.h, as far as this program uses it ---------------------------------------------------

TWU_OK, TWU_HOST_ERROR, TWU_STOPPED = 0, 1, 8
TWU_NULL, TWU_INTEGER, TWU_REAL, TWU_TEXT = range(4)


class Error(c_void_p):
    """A pointer to a twu_error."""


class Text(Structure):
    _fields_ = [("data", c_void_p), ("size", c_size_t)]

    def read(self):
        return ctypes.string_at(self.data, self.size)

    def point_to(self, text):
        """Whoever calls this keeps the text alive."""
        self.data, self.size = ctypes.cast(c_char_p(text), c_void_p).value, len(text)


class Value(Structure):
    class As(Union):
        _fields_ = [("integer", c_int64), ("real", c_double), ("text", Text)]

    _fields_ = [("type", c_int32), ("as_", As)]


class Component(Structure):
    _fields_ = [("name", Text), ("folder", Text)]


class Step(Structure):
    _fields_ = [("ladder", c_int32), ("number", c_int32), ("threshold", c_double),
                ("name", c_char_p), ("description", c_char_p)]


# The callbacks in the order of the struct: name, type of the result, types of the arguments. The
# context, which comes first in each, is not used: the callbacks are bound methods.
STATUS, ERROR, HANDLE, SQL = c_int32, Error, c_void_p, (c_void_p, c_size_t)
CALLBACKS = [
    ("execute", STATUS, (*SQL, POINTER(c_int64), ERROR)),
    ("open_query", STATUS, (*SQL, POINTER(HANDLE), ERROR)),
    ("last_insert_id", STATUS, (POINTER(c_int64), ERROR)),
    ("result_eof", c_int32, (HANDLE,)),
    ("result_field", STATUS, (HANDLE, c_char_p, POINTER(Value), ERROR)),
    ("result_next", STATUS, (HANDLE, ERROR)),
    ("result_close", None, (HANDLE,)),
    ("command_new", STATUS, (POINTER(HANDLE), ERROR)),
    ("command_add_parameter", STATUS, (HANDLE, POINTER(Value), ERROR)),
    ("command_set_text", STATUS, (HANDLE, *SQL, ERROR)),
    ("command_open", STATUS, (HANDLE, POINTER(HANDLE), ERROR)),
    ("command_execute", STATUS, (HANDLE, POINTER(c_int64), ERROR)),
    ("command_close", None, (HANDLE,)),
    ("open_reader", STATUS, (*SQL, POINTER(HANDLE), ERROR)),
    ("component_item", STATUS, (c_int32, POINTER(Component), ERROR)),
    ("upgrade_site_component", STATUS, (c_int32, c_int32, ERROR)),
    ("refresh_site_component", STATUS, (c_int32, c_int32, ERROR)),
    ("initialise_site_component", STATUS, (c_int32, c_int32, ERROR)),
    ("reset_site_component", STATUS, (c_int32, c_int32, ERROR)),
    ("refresh_application", STATUS, (ERROR,)),
    ("install_folder", STATUS, (POINTER(Text), ERROR)),
    ("local_host_name", STATUS, (POINTER(Text), ERROR)),
    ("ladder_starting", STATUS, (c_int32, c_char_p, c_double, ERROR)),
    ("ladder_ended", STATUS, (c_int32, c_char_p, ERROR)),
    ("step_starting", STATUS, (POINTER(Step), c_char_p, ERROR)),
    ("step_ended", STATUS, (POINTER(Step), c_char_p, ERROR)),
    ("site_walk_starting", STATUS, (ERROR,)),
    ("site_starting", STATUS, (c_int32, c_double, ERROR)),
    ("site_ended", STATUS, (c_int32, ERROR)),
    ("released", None, ()),
]


class HostCallbacks(Structure):
    _fields_ = [("size", c_size_t)] + [(name, CFUNCTYPE(result, c_void_p, *arguments))
                                       for name, result, arguments in CALLBACKS]


twu = ctypes.CDLL(os.environ.get("TWUPDATE_LIBRARY", "libtwupdate.so.1"))
for name, result, arguments in [
        ("twu_host_new", STATUS, (POINTER(HostCallbacks), c_void_p, POINTER(HANDLE))),
        ("twu_host_free", None, (HANDLE,)),
        ("twu_update_new", STATUS, (POINTER(HANDLE),)),
        ("twu_update_free", None, (HANDLE,)),
        ("twu_configure", STATUS, (HANDLE, HANDLE)),
        ("twu_update_server", STATUS, (HANDLE, c_double, POINTER(c_int32))),
        ("twu_update_site", STATUS, (HANDLE, c_int32, c_double, POINTER(c_int32))),
        ("twu_last_error", ERROR, (HANDLE,)),
        ("twu_error_set", None, (ERROR, c_uint32, c_char_p, c_char_p)),
        ("twu_error_status", STATUS, (ERROR,)),
        ("twu_error_text", c_char_p, (ERROR,)),
        ("twu_error_code", c_uint32, (ERROR,)),
        ("twu_error_sqlstate", c_char_p, (ERROR,)),
        ("twu_error_statement", c_char_p, (ERROR, c_void_p)),
        ("twu_status_name", c_char_p, (STATUS,)),
        ("twu_current_version", c_double, ())]:
    getattr(twu, name).restype = result
    getattr(twu, name).argtypes = arguments

# --- the server, through MariaDB's client library -------------------------------------------------

MYSQL_READ_DEFAULT_FILE, MYSQL_READ_DEFAULT_GROUP, MYSQL_SET_CHARSET_NAME = 4, 5, 7

maria = ctypes.CDLL("libmariadb.so.3")
for name, result, arguments in [
        ("mysql_init", HANDLE, (HANDLE,)),
        ("mysql_options", c_int32, (HANDLE, c_int32, c_char_p)),
        ("mysql_real_connect", HANDLE,
         (HANDLE, c_char_p, c_char_p, c_char_p, c_char_p, c_uint, c_char_p, c_ulong)),
        ("mysql_close", None, (HANDLE,)),
        ("mysql_real_query", c_int32, (HANDLE, c_char_p, c_ulong)),
        ("mysql_store_result", HANDLE, (HANDLE,)),
        ("mysql_free_result", None, (HANDLE,)),
        ("mysql_num_fields", c_uint, (HANDLE,)),
        # A field begins with its name; the rest of it is not needed.
        ("mysql_fetch_field_direct", POINTER(c_char_p), (HANDLE, c_uint)),
        ("mysql_fetch_row", POINTER(c_void_p), (HANDLE,)),
        ("mysql_fetch_lengths", POINTER(c_ulong), (HANDLE,)),
        ("mysql_insert_id", c_ulonglong, (HANDLE,)),
        ("mysql_real_escape_string", c_ulong, (HANDLE, c_char_p, c_char_p, c_ulong)),
        ("mysql_errno", c_uint, (HANDLE,)),
        ("mysql_sqlstate", c_char_p, (HANDLE,)),
        ("mysql_error", c_char_p, (HANDLE,))]:
    getattr(maria, name).restype = result
    getattr(maria, name).argtypes = arguments


class ServerError(Exception):
    def __init__(self, code, sqlstate, text):
        super().__init__(text.decode(errors="replace"))
        self.code, self.sqlstate, self.text = code, sqlstate, text


class Connection:
    def __init__(self, option_file):
        self.last_insert_id = 0
        self.mysql = maria.mysql_init(None)
        maria.mysql_options(self.mysql, MYSQL_READ_DEFAULT_FILE, os.fsencode(option_file))
        maria.mysql_options(self.mysql, MYSQL_READ_DEFAULT_GROUP, b"client")
        maria.mysql_options(self.mysql, MYSQL_SET_CHARSET_NAME, b"utf8mb4")
        if not maria.mysql_real_connect(self.mysql, None, None, None, None, 0, None, 0):
            self.fail()
        # The component escapes texts with backslashes.
        self.query(b"SET SESSION sql_mode = REPLACE(@@sql_mode, 'NO_BACKSLASH_ESCAPES', '')")

    def close(self):
        maria.mysql_close(self.mysql)

    def fail(self):
        raise ServerError(maria.mysql_errno(self.mysql), maria.mysql_sqlstate(self.mysql),
                          maria.mysql_error(self.mysql))

    def query(self, sql):
        """Runs a statement; gives the rows as dictionaries of bytes (or None) by lower-case name."""
        if maria.mysql_real_query(self.mysql, sql, len(sql)) != 0:
            self.fail()
        self.last_insert_id = maria.mysql_insert_id(self.mysql) or self.last_insert_id
        stored = maria.mysql_store_result(self.mysql)
        if not stored:
            if maria.mysql_errno(self.mysql) != 0:
                self.fail()
            return []
        names = [maria.mysql_fetch_field_direct(stored, i)[0].lower()
                 for i in range(maria.mysql_num_fields(stored))]
        rows = []
        while row := maria.mysql_fetch_row(stored):
            lengths = maria.mysql_fetch_lengths(stored)
            rows.append({name: ctypes.string_at(row[i], lengths[i]) if row[i] else None
                         for i, name in enumerate(names)})
        maria.mysql_free_result(stored)
        return rows

    def literal(self, value):
        """A value as it stands in a statement."""
        if value.type == TWU_INTEGER:
            return b"%d" % value.as_.integer
        if value.type == TWU_REAL:
            return repr(value.as_.real).encode()  # reads back as the same number
        if value.type == TWU_TEXT:
            text = value.as_.text.read()
            escaped = ctypes.create_string_buffer(2 * len(text) + 1)
            size = maria.mysql_real_escape_string(self.mysql, escaped, text, len(text))
            return b"'" + escaped.raw[:size] + b"'"
        return b"NULL"


# --- the host: what the component asks for --------------------------------------------------------

class Result:
    def __init__(self, rows):
        self.rows, self.current = rows, 0


class Command:
    def __init__(self):
        self.sql, self.literals = b"", []


class Host:
    def __init__(self, connection, install_folder):
        self.connection = connection
        self.folder = os.fsencode(install_folder)
        self.objects = {}  # open results and commands, by the number that the component knows
        self.last_number = 0

    def callbacks(self):
        """The struct of callbacks. It must live as long as the component may call them."""
        table = HostCallbacks(size=ctypes.sizeof(HostCallbacks))
        for name, result, arguments in CALLBACKS:
            if hasattr(self, name):  # what is not there gets its default
                setattr(table, name, CFUNCTYPE(result, c_void_p, *arguments)(
                    guarded(getattr(self, name), can_fail=ERROR in arguments)))
        return table

    def keep(self, thing):
        self.last_number += 1
        self.objects[self.last_number] = thing
        return self.last_number

    # Statements

    def open_query(self, sql, size, result):
        result[0] = self.keep(Result(self.connection.query(ctypes.string_at(sql, size))))

    def execute(self, sql, size, rows_affected):
        self.connection.query(ctypes.string_at(sql, size))

    def last_insert_id(self, number):
        number[0] = self.connection.last_insert_id

    # Rows. All values are text, as the server sends them: the component reads numbers from text.

    def result_eof(self, number):
        result = self.objects[number]
        return result.current >= len(result.rows)

    def result_field(self, number, column, value):
        result = self.objects[number]
        text = result.rows[result.current][column.lower()]
        if text is not None:  # the value is NULL as it is
            value[0].type = TWU_TEXT
            value[0].as_.text.point_to(text)  # the row keeps it alive

    def result_next(self, number):
        self.objects[number].current += 1

    def result_close(self, number):
        del self.objects[number]

    # Statements with `?` parameters. The values are written into the text here, which has a `?`
    # nowhere else; a host with prepared statements binds them.

    def command_new(self, number):
        number[0] = self.keep(Command())

    def command_add_parameter(self, number, value):
        self.objects[number].literals.append(self.connection.literal(value[0]))

    def command_set_text(self, number, sql, size):
        self.objects[number].sql = ctypes.string_at(sql, size)

    def command_open(self, number, result):
        result[0] = self.keep(Result(self.connection.query(self.with_values(number))))

    def command_execute(self, number, rows_affected):
        self.connection.query(self.with_values(number))

    def command_close(self, number):
        del self.objects[number]

    def with_values(self, number):
        command = self.objects[number]
        parts = command.sql.split(b"?")
        return parts[0] + b"".join(
            literal + part for literal, part in zip(command.literals, parts[1:], strict=True))

    # The platform. A platform calls its own code here; this program has none around it.

    def component_item(self, component_id, component):
        rows = self.connection.query(b"SELECT componentname, foldername "
                                     b"FROM tw_tarnwick.component WHERE componentid = %d"
                                     % component_id)
        if not rows:
            raise LookupError(f"there is no component {component_id}")
        self.component = rows[0]  # keeps both texts alive until the next one is asked for
        component[0].name.point_to(rows[0][b"componentname"])
        component[0].folder.point_to(rows[0][b"foldername"])

    def upgrade_site_component(self, site, component):
        print(f"    service: upgrade component {component} of site {site}")

    def refresh_site_component(self, site, component):
        print(f"    service: refresh component {component} of site {site}")

    def initialise_site_component(self, site, component):
        print(f"    service: initialise component {component} of site {site}")

    def reset_site_component(self, site, component):
        print(f"    service: reset component {component} of site {site}")

    def refresh_application(self):
        print("    service: refresh the application")

    def install_folder(self, folder):
        folder[0].point_to(self.folder)

    # The observer.

    def site_starting(self, site, version):
        print(f"site {site} is at {version:.4f}")

    def step_starting(self, step, database):
        print(f"  {step[0].name.decode()} on {database.decode()}: {step[0].description.decode()}")

    def site_ended(self, site):
        print(f"site {site} is done")


def guarded(method, can_fail):
    """The callback for a method. No exception leaves it; the component gets the error."""
    def call(_context, *arguments):
        if not can_fail:
            return method(*arguments)
        try:
            method(*arguments[:-1])
            return TWU_OK
        except ServerError as error:
            twu.twu_error_set(arguments[-1], error.code, error.sqlstate, error.text)
        except KeyboardInterrupt:
            return TWU_STOPPED
        except Exception as error:
            twu.twu_error_set(arguments[-1], 0, None, repr(error).encode())
        return TWU_HOST_ERROR
    return call


# --- the use --------------------------------------------------------------------------------------

def number(connection, sql):
    """The number in the first row."""
    for row in connection.query(sql):
        for text in row.values():
            if text is not None:
                return float(text)
    raise LookupError(f"no number from {sql.decode()}")


def upgrade(connection, update, site):
    """Runs the upgrade and gives its status."""
    if site is None:
        # The central database, then all sites. The component writes the versions itself.
        version = number(connection, b"SELECT version FROM tw_tarnwick.installation")
        return twu.twu_update_server(update, version, None)
    # One site. Its version stands in the central database; the host writes the new one.
    version = number(connection, b"SELECT version FROM tw_tarnwick.site WHERE siteid = %d" % site)
    status = twu.twu_update_site(update, site, version, None)
    if status == TWU_OK:
        connection.query(b"UPDATE tw_tarnwick.site SET version = %.4f WHERE siteid = %d"
                         % (twu.twu_current_version(), site))
    return status


class UpgradeError(Exception):
    """What was done stays done; when the cause is gone, the same call goes on from there."""

    def __init__(self, error):
        text = twu.twu_status_name(twu.twu_error_status(error)) + b": " + twu.twu_error_text(error)
        if code := twu.twu_error_code(error):  # the server's
            text += b" (error %d, SQLSTATE %s)" % (code, twu.twu_error_sqlstate(error))
        if statement := twu.twu_error_statement(error, None):
            text += b"\n  in: " + statement
        super().__init__(text.decode(errors="replace"))


def run(host, site=None):
    """Upgrades one site, or the whole installation."""
    callbacks = host.callbacks()
    handle, update = HANDLE(), HANDLE()
    if twu.twu_host_new(byref(callbacks), None, byref(handle)) != TWU_OK or \
            twu.twu_update_new(byref(update)) != TWU_OK:
        raise UpgradeError(twu.twu_last_error(None))
    twu.twu_configure(update, handle)
    twu.twu_host_free(handle)  # the update has a reference of its own
    try:
        if upgrade(host.connection, update, site) != TWU_OK:
            raise UpgradeError(twu.twu_last_error(update))
    finally:
        twu.twu_update_free(update)


def main(arguments):
    if len(arguments) not in (2, 3):
        print("usage: python_host.py OPTION-FILE INSTALL-FOLDER [SITE]", file=sys.stderr)
        return 2
    try:
        connection = Connection(arguments[0])
        run(Host(connection, arguments[1]), int(arguments[2]) if len(arguments) == 3 else None)
        connection.close()
    except (ServerError, UpgradeError, LookupError, ValueError) as error:
        print(f"python_host: {error}", file=sys.stderr)
        return 1
    print("done")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
