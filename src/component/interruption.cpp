#include "twupdate/interruption.h"

#include <algorithm>
#include <array>

#include "migrations/interruptions.h"

namespace twupdate {
namespace {

struct Interruption {
    std::string_view step;
    std::string_view effectOfRepeat;
    LeftoverSearch* search;
};

constexpr auto kInterruptions = std::to_array<Interruption>({
#define TWU_NOT_REPEATABLE(step, effect) {#step, effect, LeftBy##step},
#include "twupdate/ladders.def"
});

const Interruption* InterruptionOf(const LadderStep& step) {
    const auto found =
        std::find_if(kInterruptions.begin(), kInterruptions.end(),
                     [&step](const Interruption& known) { return known.step == step.name; });
    return found == kInterruptions.end() ? nullptr : &*found;
}

}  // namespace

std::string_view EffectOfRepeat(const LadderStep& step) {
    const Interruption* interruption = InterruptionOf(step);
    return interruption == nullptr ? std::string_view() : interruption->effectOfRepeat;
}

std::vector<Leftover> FindLeftovers(Utility& host, const LadderStep& step,
                                    const SteppedDatabase& database, StepHistory history) {
    const Interruption* interruption = InterruptionOf(step);
    return interruption == nullptr ? std::vector<Leftover>()
                                   : interruption->search(host, database, history);
}

}  // namespace twupdate
