#include "cli/report/timeline.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

#include "cli/report/html.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

constexpr std::size_t kMostRows = 100;
constexpr double kLeastShare = 0.006;  // of the axis: what is shorter has no bar of its own
constexpr int kAxisHeight = 22;
constexpr int kLabelHeight = 16;
constexpr int kBarHeight = 12;
constexpr int kNumberHeight = 14;
constexpr int kGap = 6;

using Databases = std::vector<const DatabaseRecord*>;

/// The databases row by row: each alone if there are few; otherwise finished ones share rows,
/// except the central database.
std::vector<Databases> RowsInSequence(const RunRecord& run) {
    const std::size_t all = run.databases.size();
    const std::size_t most = all <= kMostRows ? 1 : (all + kMostRows - 3) / (kMostRows - 2);
    std::vector<Databases> rows;
    for (const DatabaseRecord& database : run.databases) {
        const bool isShared = !rows.empty() && rows.back().size() < most &&
                              rows.back().front()->siteId && database.siteId && database.ended;
        if (!isShared) {
            rows.emplace_back();
        }
        rows.back().push_back(&database);
    }
    return rows;
}

/// A lane for what the run has done itself, and one for each of its jobs.
std::map<std::uint64_t, Databases> Lanes(const RunRecord& run) {
    std::map<std::uint64_t, Databases> lanes;
    for (const DatabaseRecord& database : run.databases) {
        lanes[database.job].push_back(&database);
    }
    return lanes;
}

class Figure {
  public:
    Figure(const RunRecord& run, const std::vector<StepRun>& marked, std::size_t id)
        : run_(run),
          marked_(marked),
          id_(id),
          length_(std::max<EventDuration>(
              {run.duration, run.lastEvent - run.start, std::chrono::milliseconds{1}})) {}

    std::string Svg() {
        const auto lanes = Lanes(run_);
        if (lanes.rbegin()->first > 0) {
            for (const auto& [job, lane] : lanes) {
                AddRow(lane, LaneLabel(job, lane));
            }
        } else {
            for (const Databases& row : RowsInSequence(run_)) {
                AddRow(row, LabelOf(row));
            }
        }
        return fmt::format(
            "<svg class=\"timeline\" width=\"100%\" height=\"{0}\" role=\"img\" "
            "aria-labelledby=\"timeline-title-{1} timeline-text-{1}\">"
            "<title id=\"timeline-title-{1}\">Timeline of databases and steps</title>"
            "<desc id=\"timeline-text-{1}\">{2}</desc>"
            "<defs><pattern id=\"stripes-{1}\" width=\"6\" height=\"6\" "
            "patternUnits=\"userSpaceOnUse\" patternTransform=\"rotate(45)\">"
            "<rect class=\"data\" width=\"6\" height=\"6\"/>"
            "<rect class=\"stripe\" width=\"2\" height=\"6\"/></pattern></defs>\n{3}{4}</svg>\n",
            y_, id_, Description(), Axis(), body_);
    }

  private:
    double Share(EventDuration duration) const {
        return std::clamp(
            static_cast<double>(duration.count()) / static_cast<double>(length_.count()), 0.0, 1.0);
    }
    double At(EventTime time) const { return Share(time - run_.start); }

    void AddBar(std::string_view attributes, double from, double width, std::string_view title) {
        body_ += fmt::format(
            "<rect {} x=\"{:.2f}%\" y=\"{}\" width=\"{:.2f}%\" height=\"{}\"><title>{}</title>"
            "</rect>\n",
            attributes, from * 100, y_, std::min(width, 1 - from) * 100, kBarHeight, title);
    }

    void AddRow(const Databases& row, const std::string& label) {
        body_ += fmt::format("<text x=\"0\" y=\"{}\">{}</text>\n", y_ + kLabelHeight - 4, label);
        y_ += kLabelHeight;
        const double from = At(row.front()->start);
        double end = 0;
        for (const DatabaseRecord* database : row) {
            end = std::max(end, EndOf(*database));
        }
        AddBar("class=\"span\"", from, end - from, label);
        for (const DatabaseRecord* database : row) {
            AddLadders(*database);
            AddSteps(*database);
            if (!database->ended) {
                AddInterruption(EndOf(*database));
            }
        }
        y_ += kBarHeight;
        AddNumbers(row);
        y_ += kGap;
    }

    double EndOf(const DatabaseRecord& database) const {
        return At(database.start) + Share(database.duration);
    }

    void AddInterruption(double at) {
        body_ += fmt::format(
            "<line class=\"interrupted\" x1=\"{0:.2f}%\" x2=\"{0:.2f}%\" y1=\"{1}\" "
            "y2=\"{2}\"/>\n",
            std::min(at, 1.0) * 100, y_ - 3, y_ + kBarHeight + 3);
    }

    static EventDuration Sum(const Databases& row) {
        EventDuration sum{0};
        for (const DatabaseRecord* database : row) {
            sum += database->duration;
        }
        return sum;
    }

    std::string LaneLabel(std::uint64_t job, const Databases& lane) const {
        return job == 0 ? LabelOf(lane)
                        : fmt::format("job {}: {}, {}", job, Count(lane.size(), "site"),
                                      DurationHtml(Sum(lane)));
    }

    std::string LabelOf(const Databases& row) const {
        const DatabaseRecord& first = *row.front();
        if (row.size() > 1) {
            return fmt::format("{} to {}: {}, {}", NameHtml(first.name), NameHtml(row.back()->name),
                               Count(row.size(), "site"), DurationHtml(Sum(row)));
        }
        const std::string_view end = first.ended                    ? ""
                                     : run_.end == RunEnd::kFailed  ? "failed after "
                                     : run_.end == RunEnd::kStopped ? "stopped after "
                                                                    : "not ended after ";
        return fmt::format("{}: {}{}", NameHtml(first.name), end, DurationHtml(first.duration));
    }

    void AddLadders(const DatabaseRecord& database) {
        for (const LadderRecord& ladder : database.ladders) {
            const double width = Share(ladder.end - ladder.start);
            if (width < kLeastShare) {
                continue;
            }
            const bool schema = ladder.name == "server" || ladder.name == "site schema";
            AddBar(schema ? "class=\"schema\"" : fmt::format("fill=\"url(#stripes-{})\"", id_),
                   At(ladder.start), width,
                   fmt::format("{}, {} ladder: {}", NameHtml(database.name), NameHtml(ladder.name),
                               DurationHtml(ladder.end - ladder.start)));
        }
    }

    void AddSteps(const DatabaseRecord& database) {
        for (const StepRecord& step : database.steps) {
            const double width = Share(step.duration);
            if (width >= kLeastShare) {
                AddBar("class=\"step\"", At(step.start), width,
                       fmt::format("{}, {}: {}", NameHtml(database.name), NameHtml(step.name),
                                   DurationHtml(step.duration)));
            }
        }
    }

    /// The numbers of the marked steps below the bar; those too near one another are written
    /// together.
    void AddNumbers(const Databases& row) {
        constexpr double kNear = 0.05;
        struct Number {
            double at;
            std::string text;
        };
        std::vector<Number> numbers;
        for (std::size_t i = 0; i < marked_.size(); ++i) {
            const DatabaseRecord* database = marked_[i].database;
            if (std::find(row.begin(), row.end(), database) != row.end()) {
                const StepRecord& step = *marked_[i].step;
                numbers.push_back(
                    {At(step.start) + Share(step.duration) / 2, std::to_string(i + 1)});
            }
        }
        if (numbers.empty()) {
            return;
        }
        std::sort(numbers.begin(), numbers.end(),
                  [](const Number& a, const Number& b) { return a.at < b.at; });
        y_ += kNumberHeight;
        for (std::size_t i = 0; i < numbers.size();) {
            std::string text = numbers[i].text;
            std::size_t next = i + 1;
            while (next < numbers.size() && numbers[next].at - numbers[next - 1].at < kNear) {
                text += ", " + numbers[next++].text;
            }
            const double middle = (numbers[i].at + numbers[next - 1].at) / 2;
            body_ += AxisText(middle, y_ - 3, "number", text);
            i = next;
        }
    }

    /// A text around that place of the axis that does not leave the figure.
    static std::string AxisText(double share, int y, std::string_view kind, std::string_view text) {
        const std::string_view anchor = share < 0.06 ? "start" : share > 0.9 ? "end" : "middle";
        return fmt::format(
            "<text class=\"{}\" x=\"{:.2f}%\" y=\"{}\" text-anchor=\"{}\">{}</text>\n", kind,
            share * 100, y, anchor, text);
    }

    std::string Axis() const {
        std::string axis;
        for (const AxisMark& mark : AxisMarks(run_.start, length_)) {
            axis += AxisText(mark.share, 12, "axis", mark.label);
            axis += fmt::format(
                "<line class=\"grid\" x1=\"{0:.2f}%\" x2=\"{0:.2f}%\" y1=\"16\" y2=\"{1}\"/>\n",
                mark.share * 100, y_);
        }
        return axis;
    }

    std::string Description() const {
        std::string text =
            fmt::format("Begins {} UTC and takes {}; {} were begun and {} of them ended.",
                        TimeHtml(run_.start), DurationHtml(length_),
                        Count(run_.databases.size(), "database"), Grouped(run_.DatabasesEnded()));
        if (!marked_.empty()) {
            text += " The steps with numbers are listed below.";
        }
        return text;
    }

    const RunRecord& run_;
    const std::vector<StepRun>& marked_;
    std::size_t id_;
    EventDuration length_;
    int y_ = kAxisHeight;
    std::string body_;
};

}  // namespace

std::vector<AxisMark> AxisMarks(EventTime start, EventDuration length) {
    using std::chrono::duration;
    constexpr std::array<double, 33> kSeconds{
        0.001, 0.002, 0.005, 0.01,  0.02,  0.05,  0.1,   0.2,    0.5,    1,       2,
        5,     10,    20,    30,    60,    120,   300,   600,    900,    1800,    3600,
        7200,  10800, 14400, 21600, 28800, 43200, 86400, 172800, 604800, 1209600, 2419200};
    constexpr double kMostMarks = 4;
    const double whole = duration<double>(length).count();
    const auto* found = std::find_if(kSeconds.begin(), kSeconds.end(),
                                     [&](double step) { return step * kMostMarks >= whole; });
    const double step = found == kSeconds.end() ? whole / kMostMarks : *found;
    std::vector<AxisMark> marks;
    if (step < 60) {
        for (int i = 0; i * step <= whole; ++i) {
            marks.push_back({i * step / whole, fmt::format("{:.4g} s", i * step)});
        }
        return marks;
    }
    const double begin = duration<double>(start.time_since_epoch()).count();
    const double last = std::floor((begin + whole) / step);
    for (int i = 0; std::ceil(begin / step) + i <= last; ++i) {
        const double at = (std::ceil(begin / step) + i) * step;
        const auto time = static_cast<std::time_t>(at);
        marks.push_back(
            {(at - begin) / whole, step < 86400 ? fmt::format("{:%H:%M}", fmt::gmtime(time))
                                                : fmt::format("{:%Y-%m-%d}", fmt::gmtime(time))});
    }
    return marks;
}

std::string TimelineSvg(const RunRecord& run, const std::vector<StepRun>& marked, std::size_t id) {
    return Figure(run, marked, id).Svg();
}

}  // namespace twupdate::cli
