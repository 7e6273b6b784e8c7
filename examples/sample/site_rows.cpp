#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "sample/bulk_insert.h"
#include "sample/rows.h"
#include "sample/words.h"

namespace twupdate::sample {
namespace {

constexpr std::int64_t kThreeYears = std::int64_t{3} * 365 * 86400;
constexpr std::int32_t kStylesheets = 70;
constexpr std::int32_t kTagsPerStylesheet = 4;

/// The data table of every form that `formfield` knows, with its columns.
void MakeFormTables(Utility& host, const Layouts& layouts, std::int32_t siteId) {
    const auto fields = host.GetDatabase()->OpenRecordset(
        "SELECT featureid, formfieldid, type FROM tw_" + std::to_string(siteId) +
            ".formfield ORDER BY featureid, formfieldid;",
        0, 0);
    std::int32_t last = 0;
    for (; !fields->IsEOF(); fields->MoveNext()) {
        const auto& row = fields->Fields();
        const std::int32_t featureId = row.Item("featureid").Value().ToInt32();
        if (featureId != last) {
            Run(host, layouts.FormTable(siteId, featureId));
            last = featureId;
        }
        Run(host, {layouts.FormField(siteId, featureId, row.Item("formfieldid").Value().ToInt32(),
                                     row.Item("type").Value().ToText())});
    }
    fields->Close();
}

/// What the tables of one site are filled by.
class SiteRows {
  public:
    SiteRows(Utility& host, const InstallationOptions& options, std::int32_t siteId)
        : host_(host),
          options_(options),
          siteId_(siteId),
          last_(kFirstBulkId + std::max(options.rows, 0)) {}

    void AddPages();
    void AddTexts();
    void AddSettings();
    void AddTraffic();
    void AddStyles();
    void AddCaches();
    void AddUsers();
    void AddEmails();
    void AddRecords();
    void AddOrders();
    void AddCharges();
    void AddCommissions();
    void AddPostings();
    void AddLog();

  private:
    Random NewRandom() { return RandomFor(options_, siteId_, ++purpose_ + 100); }
    std::string Table(const std::string& columns) const {
        return "tw_" + std::to_string(siteId_) + "." + columns;
    }
    /// Calls `row` with every id of the bulk.
    template <typename AddRow>
    void ForEachId(const AddRow& row) const {
        for (std::int32_t id = kFirstBulkId; id < last_; ++id) {
            row(id);
        }
    }
    std::int32_t AnyId(Random& random) const {
        return kFirstBulkId + random.Below(std::max(last_ - kFirstBulkId, 1));
    }
    static std::string Moment(Random& random) {
        return DateTime(random.Between(0, static_cast<std::int32_t>(kThreeYears)));
    }
    /// An amount of money, now and then one that ends in many nines.
    static double Amount(Random& random) {
        return static_cast<double>(random.Between(5, 25000)) / 100;
    }

    Utility& host_;
    const InstallationOptions& options_;
    std::int32_t siteId_;
    std::int32_t last_;  ///< one past the last id
    std::uint64_t purpose_ = 0;
};

void SiteRows::AddPages() {
    Random random = NewRandom();
    BulkInsert features(
        host_, Table("feature(featureid, componentid, featurename, navigationstyle, deadlink)"));
    BulkInsert links(host_, Table("navigation(navigationid, featureid, parentid, level, sequence, "
                                  "linktext)"));
    BulkInsert urls(host_, Table("directurl(featureid, navigationid, url)"));
    ForEachId([&](std::int32_t id) {
        const std::string title = Title(random);
        features.Row(id, random.Percent(60) ? 400 : 500, title,
                     random.Percent(10) ? "LONavHidden" : "LONavSide", random.Percent(2) ? -1 : 0);
        const bool isTop = id < kFirstBulkId + 8;
        const std::int32_t parent = isTop ? 1 : kFirstBulkId + (id - kFirstBulkId) / 8 - 1;
        links.Row(id, id, parent, isTop ? 2 : 3, random.Below(40), title.substr(0, 40));
        if (random.Percent(30)) {
            urls.Row(id, id, "page-" + std::to_string(id));
        }
    });
    features.Finish();
    links.Finish();
    urls.Finish();
}

void SiteRows::AddTexts() {
    Random random = NewRandom();
    BulkInsert texts(host_, Table("text(textid, featureid, subfeatureid, texttype, text, "
                                  "previoustext)"));
    BulkInsert images(host_, Table("image(featureid, filename, width, height)"));
    ForEachId([&](std::int32_t id) {
        const std::int32_t kind = random.Below(20);
        if (kind == 0) {
            texts.Row(id, id, 0, 0, "&nbsp;", nullptr);
        } else if (kind == 1) {
            texts.Row(id, id, 0, 0, nullptr, nullptr);
        } else if (kind < 5) {
            texts.Row(id, id, 0, 0, Paragraph(random), Paragraph(random));
        } else {
            texts.Row(id, id, 0, 0, Paragraph(random), nullptr);
        }
        if (random.Percent(25)) {
            images.Row(id, "picture" + std::to_string(id) + ".jpg", random.Between(80, 800),
                       random.Between(60, 600));
        }
    });
    texts.Finish();
    images.Finish();
}

void SiteRows::AddSettings() {
    Random random = NewRandom();
    BulkInsert overrides(host_, Table("override(overrideid, featureid)"));
    BulkInsert settings(host_, Table("setting(overrideid, name, type, string_value, text, "
                                     "integer_value)"));
    ForEachId([&](std::int32_t id) {
        if (id % 5 != 0) {
            return;
        }
        overrides.Row(id, id);
        switch (random.Below(6)) {
            case 0:
                settings.Row(id, "canonical", "string", "page-" + std::to_string(id), nullptr, 0);
                break;
            case 1:
                settings.Row(id, "TargetInstanceId", "integer", "", nullptr, random.Below(4));
                break;
            case 2:
                settings.Row(id, "HideNavIfOverrides", "boolean", "", nullptr, -1);
                break;
            case 3:
                settings.Row(id, "FindResultsPhrase", "text", "", Sentences(random, 1), 0);
                break;
            default:
                settings.Row(id, "PageTitle", "string", Title(random), nullptr, 0);
                settings.Row(id, "ShowPrintLink", "boolean", "", nullptr, random.Below(2) - 1);
                break;
        }
    });
    overrides.Finish();
    settings.Finish();
}

void SiteRows::AddTraffic() {
    Random random = NewRandom();
    BulkInsert updates(host_, Table("contentupdate(featureid, userid, updatetime)"));
    BulkInsert hits(host_, Table("pagehit(hittime, pageroute, navigationid, userid, eventid)"));
    ForEachId([&](std::int32_t) {
        updates.Row(AnyId(random), random.Between(1, 3), Moment(random));
        const std::int32_t page = AnyId(random);
        hits.Row(Moment(random), "1/" + std::to_string(page), page,
                 random.Percent(20) ? AnyId(random) : 0, random.Percent(5) ? 2 : 0);
    });
    updates.Finish();
    hits.Finish();
}

void SiteRows::AddStyles() {
    static constexpr std::array<std::string_view, 10> kSelectors{
        ".price",    ".teaser H3",      "UL.sitemap LI", ".LOpage",   "TABLE.list TH",
        "A:Visited", "span.TreeLink B", ".note",         ".basefont", "FORM.order LABEL"};
    static constexpr std::array<std::string_view, 12> kColours{
        "white",  "black",  "#336699", "DarkGray", "Whitesmoke", "gainsboro",
        "silver", "orange", "yellow",  "#fff",     "dodgerblue", "transparent"};
    static constexpr std::array<std::string_view, 4> kBorders{"1px solid Silver", "2px dashed #ccc",
                                                              "none", "1px solid darkkhaki"};
    Random random = NewRandom();
    BulkInsert sheets(host_, Table("css(cssid, name, cachebuilt)"));
    BulkInsert tags(host_, Table("tag(tagid, name, templateid, overrideid, cssid, cachebuilt)"));
    BulkInsert attributes(host_, Table("attribute(tagid, name, value)"));
    std::int32_t tagId = kFirstBulkId;
    for (std::int32_t sheet = 3; sheet <= kStylesheets; ++sheet) {
        sheets.Row(sheet, "sheet" + std::to_string(sheet), -1);
        for (std::int32_t i = 0; i < kTagsPerStylesheet; ++i, ++tagId) {
            tags.Row(tagId, random.Pick(kSelectors), 20, 0, sheet, -1);
            attributes.Row(tagId, "color", random.Pick(kColours));
            attributes.Row(tagId, "border-left", random.Pick(kBorders));
            attributes.Row(tagId, "font-size", std::to_string(random.Between(9, 18)) + "px");
        }
    }
    sheets.Finish();
    tags.Finish();
    attributes.Finish();
}

void SiteRows::AddCaches() {
    constexpr std::int32_t kFirstCache = kFirstBulkId + 9;
    static_assert(kFirstCache % 10 == 0);
    Random random = NewRandom();
    BulkInsert caches(host_, Table("cache(cacheid, type, templateid)"));
    BulkInsert pages(host_, Table("featurecache(featureid, cacheid)"));
    ForEachId([&](std::int32_t id) {
        if (id % 10 == 0) {
            caches.Row(id, random.Below(3), random.Percent(70) ? 20 : 0);
        }
        const std::int32_t cache = std::max(id - id % 10, kFirstCache);
        if (cache < last_) {
            pages.Row(id, cache);
        }
    });
    caches.Finish();
    pages.Finish();
}

void SiteRows::AddUsers() {
    Random random = NewRandom();
    BulkInsert users(host_, Table("security(userid, username, password, name, organization, "
                                  "address, postcode, countryid, telephone, email)"));
    BulkInsert members(host_, Table("usergroup(userid, groupid)"));
    ForEachId([&](std::int32_t id) {
        const std::string name = PersonName(random);
        const std::string mail = MailName(name) + std::to_string(id);
        users.Row(id, mail, std::to_string(random.Between(10000000, 99999999)), name,
                  random.Percent(20) ? BusinessName(random) : "",
                  random.Percent(80) ? Address(random) : "",
                  std::to_string(random.Between(10000, 99999)), random.Percent(70) ? 77 : 54,
                  random.Percent(50) ? "0" + std::to_string(random.Between(1000000, 9999999)) : "",
                  mail + "@mail.example");
        if (random.Percent(30)) {
            members.Row(id, 3);
        }
    });
    users.Finish();
    members.Finish();
}

void SiteRows::AddEmails() {
    Random random = NewRandom();
    BulkInsert emails(host_, Table("email(featureid, type, fromlist, tolist, cclist, bcclist, "
                                   "subject, message)"));
    ForEachId([&](std::int32_t id) {
        if (id % 10 != 0) {
            return;
        }
        const std::string to = MailName(PersonName(random)) + "@mail.example";
        switch (random.Below(4)) {
            case 0:
                emails.Row(6, "orderconfirmation", "shop@mail.example",
                           "<#OrderDetails:Name=E-mail,Id=billingemail#>", nullptr, nullptr,
                           "Your order",
                           "Dear <#OrderDetails:Name=Customer,Id=billingname#>,\r\n" +
                               Sentences(random, 2));
                break;
            case 1:
                emails.Row(7, "formnotification", nullptr, to, nullptr, nullptr, Title(random),
                           Paragraph(random));
                break;
            case 2:
                emails.Row(16, "feedreport", "feeds@mail.example", to, "", "", Title(random),
                           "<#Embed.16.1:Result#> " + Sentences(random, 1));
                break;
            default:
                emails.Row(5, "registration", "admin@mail.example", to, nullptr, nullptr, "Welcome",
                           Sentences(random, 3));
                break;
        }
    });
    emails.Finish();
}

void SiteRows::AddRecords() {
    static constexpr std::array<std::string_view, 4> kPictures{"jpg", "JPG", "png", "gif"};
    Random random = NewRandom();
    BulkInsert books(host_, Table("form_8(replyid, userid, created, field_1, field_2, field_3, "
                                  "field_4, field_5, field_6, field_7, field_8, field_9, "
                                  "field_10, field_11, field_12, field_13)"));
    BulkInsert letters(host_, Table("form_7(replyid, userid, created, field_14, field_15, "
                                    "field_16, field_17)"));
    BulkInsert links(host_, Table("formlink(formfieldid, subjreplyid, objreplyid, "
                                  "productlinkprice, sequence)"));
    ForEachId([&](std::int32_t id) {
        const bool isInSeries = random.Percent(30);
        books.Row(
            id, AnyId(random), Moment(random), Title(random), Sentences(random, 2),
            Paragraph(random), random.Between(24, 900),
            static_cast<double>(random.Between(50, 2500)) / 1000, Amount(random),
            random.Below(2) - 1, Moment(random).substr(0, 10), UploadedFile(id),
            "../images/cover" + std::to_string(id) + "." + std::string(random.Pick(kPictures)),
            random.Between(0, 2), 1, isInSeries ? 1 : 0);
        links.Row(12, id, AnyId(random), 0, 1);
        if (isInSeries) {
            links.Row(13, id, AnyId(random), Amount(random), 1);
        }
        if (id % 4 == 0) {
            const std::string name = PersonName(random);
            letters.Row(id, 0, Moment(random), name, MailName(name) + "@mail.example",
                        Sentences(random, 3), id % 8 == 0 ? UploadedFile(id) : "");
        }
    });
    books.Finish();
    letters.Finish();
    links.Finish();
}

void SiteRows::AddOrders() {
    Random random = NewRandom();
    BulkInsert orders(host_, Table("customerorder(orderid, featureid, userid, created, currencyid, "
                                   "grossamount, chargetotal, completed, locked, billingname, "
                                   "billingaddress, billingcountry, billingpostcode, "
                                   "billingtelephone, billingemail, shippingname, "
                                   "shippingaddress)"));
    BulkInsert items(host_, Table("orderitem(orderid, basketid, description, quantity, price)"));
    BulkInsert payments(host_, Table("orderpayment(orderid, amount, transactionid, paymentdate, "
                                     "live)"));
    BulkInsert baskets(host_, Table("basket(basketid, featureid, userid, orderid, created)"));
    ForEachId([&](std::int32_t id) {
        const std::string name = PersonName(random);
        const std::string address = random.Percent(85) ? Address(random) : "";
        const std::string created = Moment(random);
        const double amount = Amount(random);
        const bool isPaid = random.Percent(90);
        const std::int32_t shop = random.Percent(80) ? 6 : 14;
        const std::int32_t user = AnyId(random);
        orders.Row(id, shop, user, created, random.Between(1, 3), amount,
                   random.Percent(60) ? 4.99 : 0.0, isPaid ? -1 : 0, random.Percent(10) ? -1 : 0,
                   name, address, random.Percent(70) ? "United Kingdom" : "Germany",
                   std::to_string(random.Between(10000, 99999)), "",
                   MailName(name) + "@mail.example", name, random.Percent(70) ? address : "");
        items.Row(id, id, Title(random), random.Between(1, 4), amount);
        baskets.Row(id, shop, user, id, created);
        if (isPaid) {
            payments.Row(id, amount, "T-" + std::to_string(id), created,
                         random.Percent(95) ? -1 : 0);
        }
    });
    orders.Finish();
    items.Finish();
    payments.Finish();
    baskets.Finish();
}

void SiteRows::AddCharges() {
    Random random = NewRandom();
    BulkInsert charges(host_,
                       Table("charge(chargeid, featureid, name, chargetype, chargecat, sequence)"));
    BulkInsert regions(host_, Table("chargeregion(regionid, chargeid, countryid, price)"));
    BulkInsert bands(host_, Table("chargeregionvalueband(regionid, bandstart, price)"));
    for (std::int32_t id = kFirstBulkId; id < std::min(last_, kFirstBulkId + 8); ++id) {
        charges.Row(id, random.Percent(80) ? 6 : 14, "Delivery to " + Town(random),
                    random.Between(1, 2), random.Between(1, 3), id - kFirstBulkId + 10);
        regions.Row(id, id, random.Percent(50) ? 77 : 54, Amount(random));
        bands.Row(id, 0.0, Amount(random));
        bands.Row(id, 100.0, Amount(random));
    }
    charges.Finish();
    regions.Finish();
    bands.Finish();
}

void SiteRows::AddCommissions() {
    Random random = NewRandom();
    BulkInsert commissions(host_, Table("commission(commissionid, orderid, userid, percentage, "
                                        "commission, created)"));
    ForEachId([&](std::int32_t id) {
        commissions.Row(id, random.Percent(95) ? id : 0, CommissionUser(id), 7.5,
                        CommissionAmount(id), CommissionDate(id));
    });
    commissions.Finish();
}

void SiteRows::AddPostings() {
    Random random = NewRandom();
    BulkInsert postings(host_, Table("forum(elementid, featureid, threadid, parentid, userid, "
                                     "subject, message, created, published, removed)"));
    constexpr std::int32_t kPostingsPerThread = 8;
    std::int32_t thread = 0;
    std::string subject;
    ForEachId([&](std::int32_t id) {
        const bool isRoot = (id - kFirstBulkId) % kPostingsPerThread == 0;
        if (isRoot) {
            thread = id;
            subject = Title(random);
        }
        postings.Row(id, 13, thread, isRoot ? 0 : thread, AnyId(random),
                     isRoot ? subject : "Re: " + subject, Sentences(random, 2),
                     DateTime(std::int64_t{id} * 3600), random.Percent(85) ? -1 : 0,
                     random.Percent(5) ? -1 : 0);
    });
    postings.Finish();
}

void SiteRows::AddLog() {
    static constexpr std::array<std::int32_t, 4> kStatus{200, 200, 304, 404};
    Random random = NewRandom();
    BulkInsert log(host_, "tw_logs.tw_" + std::to_string(siteId_) +
                              "(ClientHost, username, LogTime, service, machine, serverip, "
                              "processingtime, bytesrecvd, bytessent, servicestatus, "
                              "win32status, operation, target, parameters)");
    ForEachId([&](std::int32_t) {
        const std::string client = "198.51.100." + std::to_string(random.Between(1, 254));
        log.Row(client, "-", Moment(random), "W3SVC1", "WEB1", "192.0.2.10", random.Below(900),
                random.Between(200, 900), random.Between(300, 90000), random.Pick(kStatus), 0,
                "GET", "/page-" + std::to_string(AnyId(random)), "-");
    });
    log.Finish();
}

/// The components whose pages a site has only with that feature.
constexpr std::pair<Group, const char*> kPagesOfGroups[] = {{Group::kForms, "800"},
                                                            {Group::kTemplates, "900, 3700"},
                                                            {Group::kFeeds, "2600"},
                                                            {Group::kShop, "1000"},
                                                            {Group::kForum, "1450"}};

}  // namespace

void AddSiteRows(Utility& host, const InstallationOptions& options, const Layouts& layouts,
                 const SitePlan& plan) {
    for (const RowSection& section : ReadRows(options, "site_core.sql", plan.siteId)) {
        Run(host, section.statements);
    }
    const auto has = [&](Group group) { return plan.groups.contains(group); };
    for (const auto& [group, components] : kPagesOfGroups) {
        if (!has(group)) {  // a site has no forum page without a forum
            Run(host,
                {"UPDATE tw_" + std::to_string(plan.siteId) +
                 ".feature SET componentid = 400 WHERE componentid IN (" + components + ");"});
        }
    }
    for (const RowSection& section : ReadRows(options, "site_optional.sql", plan.siteId)) {
        if (section.groups.empty()) {
            continue;
        }
        const std::string& name = section.groups.front();
        if (name == "records") {
            if (has(Group::kForms)) {
                MakeFormTables(host, layouts, plan.siteId);
                Run(host, section.statements);
            }
            continue;
        }
        for (const Group group : plan.groups) {
            if (GroupName(group) == name) {
                Run(host, section.statements);
            }
        }
    }
    if (options.rows == 0) {
        return;
    }
    SiteRows rows(host, options, plan.siteId);
    rows.AddPages();
    rows.AddTexts();
    rows.AddSettings();
    rows.AddTraffic();
    rows.AddStyles();
    rows.AddCaches();
    rows.AddUsers();
    rows.AddEmails();
    if (has(Group::kForms)) {
        rows.AddRecords();
    }
    if (has(Group::kShop)) {
        rows.AddOrders();
    }
    if (has(Group::kCharges)) {
        rows.AddCharges();
    }
    if (has(Group::kAffiliates)) {
        rows.AddCommissions();
    }
    if (has(Group::kForum)) {
        rows.AddPostings();
    }
}

void AddLaterSiteRows(Utility& host, const InstallationOptions& options, const SitePlan& plan) {
    for (const RowSection& section : ReadRows(options, "site_later.sql", plan.siteId)) {
        const bool hasGroups =
            std::all_of(section.groups.begin(), section.groups.end(), [&](const auto& name) {
                return std::any_of(plan.groups.begin(), plan.groups.end(),
                                   [&](Group group) { return GroupName(group) == name; });
            });
        if (hasGroups && plan.age.schema >= section.since) {
            Run(host, section.statements);
        }
    }
}

void AddLogRows(Utility& host, const InstallationOptions& options, const SitePlan& plan) {
    SiteRows(host, options, plan.siteId).AddLog();
}

}  // namespace twupdate::sample
