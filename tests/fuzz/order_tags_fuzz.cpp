// The order-details tags of e-mails, which operators write.
#include "fuzz/target.h"
#include "support/update_test_peer.h"

namespace twupdate::test {
namespace {

void Read(std::string_view text) {
    const std::string converted = UpdateTestPeer::ConvertOrderDetailsTags(text);
    if (text.find("#OrderDetails:Name=") == std::string_view::npos) {
        Require(converted == text, "a text without a tag stays as it is");
    }
}

const FuzzTarget kTarget("order_tags", Read);

}  // namespace
}  // namespace twupdate::test
