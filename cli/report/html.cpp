#include "cli/report/html.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <cmath>

#include "cli/terminal/text.h"
#include "twupdate/ladder.h"

namespace twupdate::cli {

std::string Html(std::string_view text) {
    std::string html;
    for (const char c : Printable(text)) {
        switch (c) {
            case '&':
                html += "&amp;";
                break;
            case '<':
                html += "&lt;";
                break;
            case '>':
                html += "&gt;";
                break;
            case '"':
                html += "&quot;";
                break;
            case '\'':
                html += "&#39;";
                break;
            default:
                html += c;
        }
    }
    return html;
}

std::string NameHtml(std::string_view name) {
    constexpr std::size_t kLongest = 80;
    return Html(ShortStatement(name, kLongest));
}

std::string StepWordsHtml(std::string_view step) {
    for (const Ladder ladder :
         {Ladder::kServer, Ladder::kServerData, Ladder::kSiteSchema, Ladder::kSiteContent}) {
        for (const LadderStep& known : LadderSteps(ladder)) {
            if (known.name == step) {
                return Html(known.description);
            }
        }
    }
    return "";
}

std::string TimeHtml(EventTime time) {
    return fmt::format("{:%Y-%m-%d %H:%M:%S}",
                       fmt::gmtime(std::chrono::system_clock::to_time_t(time)));
}

std::string DurationHtml(EventDuration duration) {
    const double ms = std::chrono::duration<double, std::milli>(duration).count();
    if (ms < 9.95) {
        return fmt::format("{:.1f} ms", ms);
    }
    return ms < 999.5 ? fmt::format("{:.0f} ms", ms) : DurationText(duration);
}

std::string ShareHtml(EventDuration part, EventDuration whole) {
    if (whole.count() <= 0) {
        return "";
    }
    const double percent =
        100 * static_cast<double>(part.count()) / static_cast<double>(whole.count());
    return percent < 1 ? "&lt; 1 %" : fmt::format("{:.0f} %", percent);
}

}  // namespace twupdate::cli
