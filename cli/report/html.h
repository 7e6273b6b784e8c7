#pragma once

#include <string>
#include <string_view>

#include "cli/report/run_events.h"

namespace twupdate::cli {

/// Any text for a page: HTML is escaped, in attributes too; control characters become blanks, bytes
/// that are not UTF-8 become U+FFFD.
std::string Html(std::string_view text);

/// The name of a database, a step or a service; one that is far too long for a name is shortened.
std::string NameHtml(std::string_view name);

/// What a step does, in words; empty for one that this program does not know.
std::string StepWordsHtml(std::string_view step);

/// "2026-11-21 22:14:05".
std::string TimeHtml(EventTime time);

/// "0.4 ms", "120 ms", "3.1 s", "2 h 07 min".
std::string DurationHtml(EventDuration duration);

/// "40 %", "&lt; 1 %"; of nothing nothing.
std::string ShareHtml(EventDuration part, EventDuration whole);

}  // namespace twupdate::cli
