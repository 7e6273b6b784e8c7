#pragma once

#include <string>

#include "sample/random.h"

namespace twupdate::sample {

/// The name of a business, e.g. "Mill Lane Bakery".
std::string BusinessName(Random& random);
/// E.g. "Grace Okafor".
std::string PersonName(Random& random);
/// A name as it stands in an address of e-mail: "grace.okafor".
std::string MailName(const std::string& person);
/// E.g. "14 Harbour Street, Leeds".
std::string Address(Random& random);
std::string Town(Random& random);
/// A few words with a capital, e.g. "Small boats and rope".
std::string Title(Random& random);
/// So many sentences.
std::string Sentences(Random& random, int count);
/// Sentences as a paragraph of a page, now and then with markup, quotes or entities.
std::string Paragraph(Random& random);

}  // namespace twupdate::sample
