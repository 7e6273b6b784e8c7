#include "sample/words.h"

#include <array>
#include <string_view>

namespace twupdate::sample {
namespace {

using std::string_view;

constexpr std::array<string_view, 20> kFirstNames{
    "Ann",   "Grace", "Tom",    "Priya",  "José", "Siân", "Ewan",   "Marta", "Louis",  "Ingrid",
    "Kwame", "Helen", "Oliver", "Fatima", "René", "Bríd", "Daniel", "Chloë", "Viktor", "Mei"};
constexpr std::array<string_view, 20> kLastNames{
    "Fielding", "Okafor", "O'Brien", "Patel",  "Müller", "Jones",  "MacLeod",
    "Nowak",    "D'Arcy", "Lund",    "Mensah", "Wright", "Garcia", "Khan",
    "Dubois",   "Byrne",  "Smith",   "Åberg",  "Rossi",  "Chen"};
constexpr std::array<string_view, 16> kPlaces{
    "Harbour",    "Mill Lane", "Station Road",  "Old Town", "Castle", "Riverside",
    "Northgate",  "Bridge",    "Market Square", "Hill Top", "Abbey",  "Dockside",
    "Greenfield", "Seaview",   "Kingsway",      "Orchard"};
constexpr std::array<string_view, 12> kTrades{
    "Books",     "Bakery",  "Cycles",    "Garden Centre", "Music School", "Pottery",
    "Tea Rooms", "Joinery", "Opticians", "Toys",          "Sailing Club", "Print Shop"};
constexpr std::array<string_view, 16> kTowns{
    "Whitby", "Leeds",  "Bristol", "Cork",   "Hamburg", "Aberdeen", "Lyon",     "Swansea",
    "York",   "Galway", "Utrecht", "Bergen", "Norwich", "Málaga",   "Plymouth", "Gdynia"};
constexpr std::array<string_view, 10> kStreets{
    "High Street", "Quay Street", "Church Lane", "Victoria Road", "St Mary's Close",
    "Park Avenue", "Mill Hill",   "The Green",   "Bridge Street", "Hafenstraße"};
constexpr std::array<string_view, 40> kWords{
    "boats",  "rope",    "small", "old",     "harbour", "lamp",   "letters", "sea",
    "winter", "garden",  "bread", "the",     "and",     "a",      "of",      "with",
    "new",    "orders",  "open",  "every",   "week",    "street", "music",   "paper",
    "glass",  "kitchen", "wood",  "café",    "market",  "our",    "for",     "children",
    "by",     "hand",    "made",  "evening", "river",   "stone",  "gift",    "local"};

std::string Capitalised(std::string text) {
    if (!text.empty() && text[0] >= 'a' && text[0] <= 'z') {
        text[0] = static_cast<char>(text[0] - 'a' + 'A');
    }
    return text;
}

std::string Words(Random& random, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += (i == 0 ? "" : " ") + std::string(random.Pick(kWords));
    }
    return Capitalised(text);
}

}  // namespace

std::string BusinessName(Random& random) {
    const std::string place(random.Pick(kPlaces));
    return place + " " + std::string(random.Pick(kTrades));
}

std::string PersonName(Random& random) {
    const std::string first(random.Pick(kFirstNames));
    return first + " " + std::string(random.Pick(kLastNames));
}

std::string MailName(const std::string& person) {
    std::string name;
    for (const char c : person) {
        if (c >= 'A' && c <= 'Z') {
            name += static_cast<char>(c - 'A' + 'a');
        } else if (c >= 'a' && c <= 'z') {
            name += c;
        } else if (c == ' ') {
            name += '.';
        }
    }
    return name;
}

std::string Address(Random& random) {
    const std::string number = std::to_string(random.Between(1, 180));
    const std::string street(random.Pick(kStreets));
    return number + " " + street + ", " + Town(random);
}

std::string Town(Random& random) {
    return std::string(random.Pick(kTowns));
}

std::string Title(Random& random) {
    return Words(random, random.Between(2, 5));
}

std::string Sentences(Random& random, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += (i == 0 ? "" : " ") + Words(random, random.Between(4, 12)) + ".";
    }
    return text;
}

std::string Paragraph(Random& random) {
    std::string text = Sentences(random, random.Between(1, 4));
    switch (random.Below(8)) {
        case 0:
            text += " <b>It's new!</b>";
            break;
        case 1:
            text += "\r\n<a href=\"../shop\">See our \"best of\" list</a>";
            break;
        case 2:
            text += "&nbsp;&amp; more";
            break;
        default:
            break;
    }
    return "<p>" + text + "</p>";
}

}  // namespace twupdate::sample
