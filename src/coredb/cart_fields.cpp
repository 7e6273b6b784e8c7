#include <algorithm>
#include <array>
#include <map>
#include <stdexcept>

#include "dbutil/replace_all.h"
#include "twupdate/update.h"

namespace twupdate {
namespace {

/// True when the setting holds the Boolean true, -1; false when it is absent or anything else.
bool IsTrue(Feature& cart, const std::string& setting) {
    const Value value = cart.GetSetting(setting);
    return value.IsNumeric() && value.ToDouble() == kTrue;
}

struct FieldCode {
    std::string_view identifier;
    std::string_view code;  ///< feature number and field code, e.g. "17.0"
};

constexpr std::array<FieldCode, 24> kFieldCodes{{
    {"orderid", "17.0"},
    {"billingname", "17.6"},
    {"billingorganization", "17.7"},
    {"billingaddress", "17.8"},
    {"billingcountry", "17.9"},
    {"billingpostcode", "17.10"},
    {"billingtelephone", "17.11"},
    {"billingemail", "17.12"},
    {"shippingname", "17.13"},
    {"shippingorganization", "17.14"},
    {"shippingaddress", "17.15"},
    {"shippingcountry", "17.16"},
    {"shippingpostcode", "17.17"},
    {"shippingemail", "17.18"},
    {"subtotal", "17.1"},
    {"total", "17.3"},
    {"itemlisting", "17.4"},
    {"itemnumberlisting", "17.5"},
    {"summarypagelink", "17.19"},
    {"completed", "17.20"},
    {"charges", "17.2"},
    {"paymentamount", "18.0"},
    {"paymenttransactionid", "18.1"},
    {"paymentdate", "18.2"},
}};

/// One order-details tag in a text.
struct Tag {
    std::size_t begin = 0;
    std::string_view whole;
    std::string_view name;
    std::string_view identifier;
};

constexpr std::string_view kTagName = "#OrderDetails:Name=";

/// Finds the tags (?:&lt;|<)#OrderDetails:Name=([^,]+),Id=([^#]+)#(?:&gt;|>) from left to right.
///
/// Written out, because the standard regular expressions recurse once per character. A name ends
/// at the next comma and an identifier at the next '#', so each opener has one reading at most and
/// nothing is ever tried twice; the places of the next comma and '#' are kept from one opener to
/// the next, so that a million openers without an end cost one look through the text.
class TagFinder {
  public:
    explicit TagFinder(std::string_view text) : text_(text) {}

    std::vector<Tag> FindAll() {
        std::vector<Tag> tags;
        std::size_t from = 0;
        for (;;) {
            const auto hash = text_.find(kTagName, from);
            if (hash == std::string_view::npos) {
                return tags;
            }
            Tag tag;
            if (ReadTag(from, hash, tag)) {
                from = tag.begin + tag.whole.size();
                tags.push_back(tag);
            } else {
                from = hash + 1;
            }
        }
    }

  private:
    bool ReadTag(std::size_t from, std::size_t hash, Tag& tag) {
        const auto before = text_.substr(from, hash - from);
        if (before.ends_with("<")) {
            tag.begin = hash - 1;
        } else if (before.ends_with("&lt;")) {
            tag.begin = hash - 4;
        } else {
            return false;
        }
        constexpr std::string_view kIdentifier = ",Id=";
        const auto name = hash + kTagName.size();
        const auto comma = Next(',', name, nextComma_);
        if (comma == name || !text_.substr(comma).starts_with(kIdentifier)) {
            return false;
        }
        const auto identifier = comma + kIdentifier.size();
        const auto end = Next('#', identifier, nextHash_);
        if (end == identifier || end == text_.size()) {
            return false;
        }
        const auto rest = text_.substr(end + 1);
        const std::size_t closing = rest.starts_with(">") ? 1 : rest.starts_with("&gt;") ? 4 : 0;
        tag.whole = text_.substr(tag.begin, end + 1 + closing - tag.begin);
        tag.name = text_.substr(name, comma - name);
        tag.identifier = text_.substr(identifier, end - identifier);
        return closing > 0;
    }

    /// The place of the next `c` at or after `from`, the text's size if there is none. Successive
    /// calls for one character come with rising `from`, as long as `known` lies ahead of it.
    std::size_t Next(char c, std::size_t from, std::size_t& known) const {
        if (known < from) {
            known = std::min(text_.find(c, from), text_.size());
        }
        return known;
    }

    std::string_view text_;
    std::size_t nextComma_ = 0;
    std::size_t nextHash_ = 0;
};

/// Gives each tag its replacement. An identifier that is not known keeps the code of the tag
/// before it.
class Replacements {
  public:
    std::string For(const Tag& tag) {
        for (const FieldCode& field : kFieldCodes) {
            if (field.identifier == tag.identifier) {
                code_ = field.code;
                break;
            }
        }
        std::string replacement = "<#Embed.";
        return replacement.append(code_).append(":").append(tag.name).append("#>");
    }

  private:
    std::string_view code_;
};

/// True when the tag's name or identifier holds the beginning of another tag.
bool HoldsOpener(const Tag& tag) {
    return tag.whole.find(kTagName, kTagName.size()) != std::string_view::npos;
}

std::string ReplaceOneByOne(std::string_view text, const std::vector<Tag>& tags) {
    std::string working(text);
    Replacements replacements;
    for (const Tag& tag : tags) {
        working = ReplaceAll(working, tag.whole, replacements.For(tag));
    }
    return working;
}

/// What ReplaceOneByOne gives when no tag holds the beginning of another. Then no replacement
/// makes, ends or joins a beginning, so whatever equals a tag in the working text begins where a
/// tag of the original begins and, since a beginning has only one reading, is that whole tag: the
/// first tag of each wording decides for all of that wording.
std::string ReplaceInOnePass(std::string_view text, const std::vector<Tag>& tags) {
    std::map<std::string_view, std::string> firstOfWording;
    Replacements replacements;
    std::string replaced;
    std::size_t done = 0;
    for (const Tag& tag : tags) {
        const auto first = firstOfWording.try_emplace(tag.whole, replacements.For(tag)).first;
        replaced.append(text, done, tag.begin - done).append(first->second);
        done = tag.begin + tag.whole.size();
    }
    return replaced.append(text, done);
}

}  // namespace

std::string Update::CreateCartFieldSequence(
    const std::shared_ptr<Feature>& cart, const std::string& nameSetting,
    const std::string& organizationSetting, const std::string& addressSetting,
    const std::string& countrySetting, const std::string& postCodeSetting,
    const std::string& emailSetting, const std::string& telephoneSetting) {
    if (!cart) {
        throw std::invalid_argument("CreateCartFieldSequence needs the page of a cart");
    }
    std::string sequence;
    if (IsTrue(*cart, nameSetting)) {
        sequence += ",0";
    }
    const bool organization = IsTrue(*cart, organizationSetting);
    const bool address = IsTrue(*cart, addressSetting);
    if (organization || address) {
        sequence += ",1";
    }
    if (address) {
        sequence += ",2,3,4,5";
    }
    sequence += ",6";
    if (IsTrue(*cart, postCodeSetting)) {
        sequence += ",7";
    }
    if (IsTrue(*cart, countrySetting)) {
        sequence += ",8";
    }
    if (IsTrue(*cart, emailSetting)) {
        sequence += ",9";
    }
    if (IsTrue(*cart, telephoneSetting)) {
        sequence += ",10";
    }
    return sequence.substr(1);
}

std::string Update::ConvertOrderDetailsTags(std::string_view text) {
    // No e-mail that a person wrote has a tag inside another. Where a text does, replacing one tag
    // can change what another matches; above this number of tags that is not followed, so that
    // the time stays linear.
    constexpr std::size_t kMostNestedTags = 64;
    const auto tags = TagFinder(text).FindAll();
    const bool nested = std::any_of(tags.begin(), tags.end(), HoldsOpener);
    return nested && tags.size() <= kMostNestedTags ? ReplaceOneByOne(text, tags)
                                                    : ReplaceInOnePass(text, tags);
}

}  // namespace twupdate
