#include "cli/report/page_parts.h"

#include <fmt/format.h>

#include "cli/report/html.h"
#include "cli/report/style.h"
#include "cli/terminal/text.h"
#include "twupdate/twupdate.h"

namespace twupdate::cli {

std::string PageHead(std::string_view title, std::optional<std::chrono::seconds> reload) {
    const std::string refresh =
        reload ? fmt::format("<meta http-equiv=\"refresh\" content=\"{}\">\n", reload->count())
               : "";
    return fmt::format(
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
        "<meta name=\"color-scheme\" content=\"light dark\">\n"
        "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
        "style-src 'unsafe-inline'; img-src data:; base-uri 'none'; form-action 'none'\">\n"
        "{}<meta name=\"generator\" content=\"twupdate {}\">\n<title>twupdate: {}</title>\n"
        "<link rel=\"icon\" href=\"data:,\">\n<style>{}</style>\n</head>\n<body>\n<main>\n",
        refresh, twu_version(), title, kReportStyle);
}

std::string Sql(std::string_view statement) {
    return fmt::format("<code class=\"sql\">{}</code>\n",
                       Html(ShortStatement(statement, kMostText)));
}

std::string Figure(std::string_view id, std::string_view name, std::string_view value) {
    return fmt::format("<div><dt>{}</dt><dd id=\"{}\">{}</dd></div>\n", name, id, value);
}

std::string Section(std::string_view id, std::string_view title, std::string_view content) {
    return fmt::format(
        "<section aria-labelledby=\"{0}-title\" id=\"{0}\">\n<h2 id=\"{0}-title\">{1}</h2>\n"
        "{2}</section>\n",
        id, title, content);
}

std::string AndMore(std::size_t all, std::size_t shown, std::string_view noun) {
    return all > shown ? fmt::format("<p class=\"quiet\">{} not shown.</p>\n",
                                     Count(all - shown, fmt::format("more {} is", noun),
                                           fmt::format("more {}s are", noun)))
                       : "";
}

std::string EndWord(RunEnd end) {
    switch (end) {
        case RunEnd::kFinished:
            return "<span class=\"good-word\">✓ finished</span>";
        case RunEnd::kFailed:
            return "<span class=\"bad-word\">✗ failed</span>";
        case RunEnd::kStopped:
            return "◼ stopped";
        case RunEnd::kNone:
            return "… did not end";
    }
    return "";
}

}  // namespace twupdate::cli
