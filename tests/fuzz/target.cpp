#include "fuzz/target.h"

#include <utility>

namespace twupdate::test {
namespace {

std::vector<FuzzTarget>& Linked() {
    static std::vector<FuzzTarget> targets;
    return targets;
}

}  // namespace

FuzzTarget::FuzzTarget(std::string targetName, Read function)
    : name(std::move(targetName)), read(function) {
    Linked().push_back(*this);
}

const std::vector<FuzzTarget>& FuzzTargets() {
    return Linked();
}

}  // namespace twupdate::test
