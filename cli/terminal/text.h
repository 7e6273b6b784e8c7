#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "twupdate/error.h"

namespace twupdate::cli {

/// A statement for display: on one line; one longer than `longest` bytes is shortened to its
/// beginning and its end with the total length between them. UTF-8 characters are not split.
std::string ShortStatement(std::string_view sql, std::size_t longest = 400);

/// The statement with every literal that is stored in, or compared with, a password column
/// replaced by '***'. Everything else stays byte for byte.
std::string WithoutPasswords(std::string_view sql);

/// "1.0094"; "not a number" for NaN.
std::string VersionText(double version);

/// "0.4 s", "12 s", "3 min 05 s", "2 h 07 min".
std::string DurationText(std::chrono::nanoseconds duration);

/// "1,234,567".
std::string Grouped(std::uint64_t number);

/// "1 site", "2 sites", "1,234 sites"; the plural is the noun with an s unless it is given.
std::string Count(std::uint64_t number, std::string_view noun, std::string_view plural = {});

/// The words of a list that is separated by single blanks.
std::vector<std::string> SplitAtBlanks(std::string_view list);

/// With the letters of ASCII in lower case.
std::string LowerCase(std::string_view text);

/// "a, b, c, d, e and 12 more".
std::string FirstFew(std::vector<std::string> names);

/// The number of columns that a terminal needs for the text; one for each character of UTF-8.
std::size_t DisplayWidth(std::string_view text);

/// The parts that fit into so many columns, in order of importance, with two blanks between them: a
/// part that does not fit is omitted, the first one is truncated.
std::string FittingParts(const std::vector<std::string>& parts, std::size_t columns);

/// Bytes that are not UTF-8 replaced by U+FFFD, control characters by a blank.
std::string Printable(std::string_view text);

/// "statement: server error 1060 (42S21): Duplicate column name", without passwords; empty parts
/// are omitted.
std::string DescribeError(std::string_view statement, std::uint32_t code, std::string_view sqlState,
                          std::string_view text);
std::string DescribeError(const HostError& error);

/// The text of an exception for people; of one of the file system the path and the reason, and for
/// std::bad_alloc "out of memory".
std::string ErrorText(const std::exception& error);

/// A message is one line with the fact, perhaps followed by lines that begin with "hint: ", which
/// say what to do. This is the message as a program prints it: each line after the program's name.
std::string MessageLines(std::string_view message, std::string_view program = "twupdate");
/// The first line of a message.
std::string FactOf(std::string_view message);
/// What its hints say, separated by "; "; empty without any.
std::string HintOf(std::string_view message);
/// The facts of several messages and `ending` on one line, then all their hints.
std::string JoinMessages(const std::vector<std::string>& messages, std::string_view ending);

/// The order in which names of databases are listed: tw_2 comes before tw_10.
bool ComesBefore(std::string_view name, std::string_view other);

/// The parser's error for a word that is not a decimal integer; empty for an integer, whose leading
/// zeros are removed.
std::string FaultOfNumber(std::string& word);

/// The parser's error for an empty value, usually an unset variable of the shell.
std::string FaultOfEmptyValue(const std::string& value);

/// The parser's error for a word that is not a version; empty for a decimal number not below 0.
std::string FaultOfVersion(const std::string& word);

}  // namespace twupdate::cli
