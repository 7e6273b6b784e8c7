#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "twupdate/export.h"
#include "twupdate/host.h"
#include "twupdate/value.h"

namespace twupdate {

/// Creates the central database and brings the central database and the site databases from any
/// older version to the current one (kCurrentVersion).
///
/// Every operation runs to its end on the caller's thread. A failing host call or statement ends
/// it at once and reaches the caller as the exception that the host threw; nothing is rolled back
/// and no version is recorded for a database whose ladders did not end, so that the same call,
/// made again, resumes the work. One object serves one caller at a time.
///
/// A version is a double with four decimals, 1.0000 to 1.0265. A database runs exactly the steps
/// whose threshold its version is strictly below; a version that is not a number runs all.
class TWUPDATE_EXPORT Update final {
  public:
    Update() = default;
    ~Update();  ///< Calls ShutDown.
    Update(const Update&) = delete;
    Update& operator=(const Update&) = delete;

    /// Takes a counted reference to the host's utility object; an earlier one is released.
    void Configure(std::shared_ptr<Utility> utility);

    /// Releases the utility object. Harmless when there is none.
    void ShutDown();

    /// Runs the server ladders on the copies of the central tables (prefix `tw_`) that the
    /// database of an imported site carries. `version` is the version of those copies.
    /// @return true; false, with nothing done, when `siteId` is not above 0
    Boolean UpdateImportMasterData(std::int32_t siteId, double version);

    /// Brings the central database from `version` to the current version, then every site that is
    /// older, recording each site's version as it is done and the installation's at the end.
    /// Does nothing when `version` is current or the object is not configured.
    /// @return true
    Boolean UpdateServer(double version);

    /// Brings one site database from `version` to the current version. Does not record the
    /// site's new version: the host does.
    /// @return true
    /// @throws NotConfiguredError when a statement is due and the object is not configured
    Boolean UpdateSite(std::int32_t siteId, double version);

    /// The comma-separated field positions that a cart shows for one address block.
    /// @param cart  the cart's page
    /// @param nameSetting, organizationSetting, addressSetting, countrySetting, postCodeSetting,
    ///        emailSetting, telephoneSetting  the names of its seven Boolean show settings; an
    ///        absent setting counts as false
    /// @return e.g. "0,1,2,3,4,5,6,7,8,9,10" with all settings true and "6" with none
    std::string CreateCartFieldSequence(
        const std::shared_ptr<Feature>& cart, const std::string& nameSetting,
        const std::string& organizationSetting, const std::string& addressSetting,
        const std::string& countrySetting, const std::string& postCodeSetting,
        const std::string& emailSetting, const std::string& telephoneSetting);

    /// Creates the central database at the current version with its reference data.
    /// @return true; false, with nothing done, when a database of that name exists
    /// @throws NotConfiguredError when the object is not configured
    Boolean CreateCoreDb();

  private:
    struct Ladders;  // the ladder tables, in component/ladders.h
    friend struct Ladders;
    friend struct UpdateTestPeer;  // lets the tests call the operations below one by one
    friend std::span<const LadderStep> LadderSteps(Ladder ladder);

    using StringRef = const std::string&;

    // --- src/component: access to the host -------------------------------------------------
    Utility& Host() const;
    void Execute(StringRef sql);
    std::shared_ptr<Recordset> OpenRecordset(StringRef sql);
    std::shared_ptr<Reader> OpenReader(StringRef sql);
    std::int32_t GetLastInsertId();

    // --- src/component: drivers -------------------------------------------------------------
    Boolean RunSiteSchemaLadder(std::int32_t siteId, double version);
    void RunSiteContentLadder(std::int32_t siteId, double version);
    Boolean RunServerUpgrade(double version, std::int32_t siteId);
    void RunServerLadders(double version, StringRef databaseName, StringRef tablePrefix,
                          bool isSite);
    void UpgradeOldSites();
    std::shared_ptr<Recordset> EnumerateSites(std::int32_t lastSiteId, std::int32_t limit,
                                              double version);
    void RefreshApplication();
    template <typename Rungs, typename Call>
    void WalkLadder(Ladder ladder, const Rungs& rungs, StringRef database, double version,
                    const Call& call);
    static std::string GetFileExtension(StringRef path);

    // --- src/dbutil: schema primitives ------------------------------------------------------
    bool TableExists(StringRef db, StringRef table);
    bool ColumnExists(StringRef db, StringRef table, StringRef column);
    bool IndexExists(StringRef db, StringRef table, StringRef index);
    void AddColumnIfMissing(StringRef db, StringRef table, StringRef column, StringRef definition);
    void AddColumn(StringRef db, StringRef table, StringRef column, StringRef definition);
    void DropColumn(StringRef db, StringRef table, StringRef column);
    void DropColumnByQuery(StringRef db, StringRef table, StringRef column);
    void DropIndex(StringRef db, StringRef table, StringRef index);
    void AddIndexIfMissing(StringRef db, StringRef table, StringRef index, StringRef columns);
    void AddIndex(StringRef db, StringRef table, StringRef index, StringRef columns);
    void ConvertFloatToDouble(StringRef db, StringRef table, StringRef column);
    void ConvertToDecimal(StringRef db, StringRef table, StringRef column);

    // --- src/dbutil: literal helpers --------------------------------------------------------
    static std::string SqlEscape(std::string_view text);
    static std::string FieldText(const Field& field);
    static std::int32_t NumberOrDefault(const Value& value, std::int32_t defaultNumber);
    static std::string DecodeAngleBrackets(std::string_view text);
    static std::string NumberToLetters(std::int32_t n);
    static std::vector<std::int32_t> FixedIdList();

    // --- src/dbutil: site file provisioning -------------------------------------------------
    void CopySiteTemplate(std::int32_t siteId, StringRef subFolder);
    void CopySiteTemplates(std::int32_t siteId);
    void CopyComponentTemplate(std::int32_t siteId, const Component& component, bool overwrite,
                               Boolean& result);

    // --- src/migrations/site_schema ---------------------------------------------------------
    // steps_1_0001_to_1_0035.cpp
    void SiteSchemaStep_1_0001(std::int32_t siteId);
    void SiteSchemaStep_1_0003(std::int32_t siteId);
    void SiteSchemaStep_1_0005(std::int32_t siteId);
    void SiteSchemaStep_1_0007(std::int32_t siteId);
    void SiteSchemaStep_1_0008(std::int32_t siteId);
    void SiteSchemaStep_1_0013(std::int32_t siteId);
    void SiteSchemaStep_1_0014(std::int32_t siteId);
    void SiteSchemaStep_1_0017(std::int32_t siteId);
    void SiteSchemaStep_1_0018(std::int32_t siteId);
    void SiteSchemaStep_1_0019(std::int32_t siteId);
    void SiteSchemaStep_1_0020(std::int32_t siteId);
    void SiteSchemaStep_1_0021(std::int32_t siteId);
    void SiteSchemaStep_1_0023(std::int32_t siteId);
    void SiteSchemaStep_1_0025(std::int32_t siteId);
    void SiteSchemaStep_1_0028(std::int32_t siteId);
    void SiteSchemaStep_1_0031(std::int32_t siteId);
    void SiteSchemaStep_1_0032(std::int32_t siteId);
    void SiteSchemaStep_1_0033(std::int32_t siteId);
    void SiteSchemaStep_1_0034(std::int32_t siteId);
    void SiteSchemaStep_1_0035(std::int32_t siteId);
    // steps_1_0037_to_1_0069.cpp
    void SiteSchemaStep_1_0037(std::int32_t siteId);
    void SiteSchemaStep_1_0038(std::int32_t siteId);
    void SiteSchemaStep_1_0039(std::int32_t siteId);
    void SiteSchemaStep_1_0040(std::int32_t siteId);
    void SiteSchemaStep_1_0042(std::int32_t siteId);
    void SiteSchemaStep_1_0045(std::int32_t siteId);
    void SiteSchemaStep_1_0047(std::int32_t siteId);
    void SiteSchemaStep_1_0050(std::int32_t siteId);
    void SiteSchemaStep_1_0052(std::int32_t siteId);
    void SiteSchemaStep_1_0054(std::int32_t siteId);
    void SiteSchemaStep_1_0055(std::int32_t siteId);
    void SiteSchemaStep_1_0059(std::int32_t siteId);
    void SiteSchemaStep_1_0060(std::int32_t siteId);
    void SiteSchemaStep_1_0061(std::int32_t siteId);
    void SiteSchemaStep_1_0062(std::int32_t siteId);
    void SiteSchemaStep_1_0064(std::int32_t siteId);
    void SiteSchemaStep_1_0066(std::int32_t siteId);
    void SiteSchemaStep_1_0067(std::int32_t siteId);
    void SiteSchemaStep_1_0068(std::int32_t siteId);
    void SiteSchemaStep_1_0069(std::int32_t siteId);
    // steps_1_0072_to_1_0224.cpp
    void SiteSchemaStep_1_0072(std::int32_t siteId);
    void SiteSchemaStep_1_0073(std::int32_t siteId);
    void SiteSchemaStep_1_0075(std::int32_t siteId);
    void SiteSchemaStep_1_0077(std::int32_t siteId);
    void SiteSchemaStep_1_0078(std::int32_t siteId);
    void SiteSchemaStep_1_0079(std::int32_t siteId);
    void SiteSchemaStep_1_0080(std::int32_t siteId);
    void SiteSchemaStep_1_0081(std::int32_t siteId);
    void SiteSchemaStep_1_0082(std::int32_t siteId);
    void SiteSchemaStep_1_0083(std::int32_t siteId);
    void SiteSchemaStep_1_0084(std::int32_t siteId);
    void SiteSchemaStep_1_0085(std::int32_t siteId);
    void SiteSchemaStep_1_0090(std::int32_t siteId);
    void SiteSchemaStep_1_0091(std::int32_t siteId);
    void SiteSchemaStep_1_0092(std::int32_t siteId);
    void SiteSchemaStep_1_0093(std::int32_t siteId);
    void SiteSchemaStep_1_0094(std::int32_t siteId);
    void SiteSchemaStep_1_0095(std::int32_t siteId);
    void SiteSchemaStep_1_0096(std::int32_t siteId);
    void SiteSchemaStep_1_0097(std::int32_t siteId);
    void SiteSchemaStep_1_0200(std::int32_t siteId);
    void SiteSchemaStep_1_0210(std::int32_t siteId);
    void SiteSchemaStep_1_0224(std::int32_t siteId);
    // steps_1_0225_to_1_0249.cpp
    void SiteSchemaStep_1_0225(std::int32_t siteId);
    void SiteSchemaStep_1_0226(std::int32_t siteId);
    void SiteSchemaStep_1_0227(std::int32_t siteId);
    void SiteSchemaStep_1_0228(std::int32_t siteId);
    void SiteSchemaStep_1_0229(std::int32_t siteId);
    void SiteSchemaStep_1_0231(std::int32_t siteId);
    void SiteSchemaStep_1_0232(std::int32_t siteId);
    void SiteSchemaStep_1_0233(std::int32_t siteId);
    void SiteSchemaStep_1_0234(std::int32_t siteId);
    void SiteSchemaStep_1_0235(std::int32_t siteId);
    void SiteSchemaStep_1_0236(std::int32_t siteId);
    void SiteSchemaStep_1_0237(std::int32_t siteId);
    void SiteSchemaStep_1_0238(std::int32_t siteId);
    void SiteSchemaStep_1_0241(std::int32_t siteId);
    void SiteSchemaStep_1_0243(std::int32_t siteId);
    void SiteSchemaStep_1_0244(std::int32_t siteId);
    void SiteSchemaStep_1_0246(std::int32_t siteId);
    void SiteSchemaStep_1_0247(std::int32_t siteId);
    void SiteSchemaStep_1_0248(std::int32_t siteId);
    void SiteSchemaStep_1_0249(std::int32_t siteId);
    // steps_1_0251_to_1_0264.cpp
    void SiteSchemaStep_1_0251(std::int32_t siteId);
    void SiteSchemaStep_1_0252(std::int32_t siteId);
    void SiteSchemaStep_1_0257(std::int32_t siteId);
    void SiteSchemaStep_1_0259(std::int32_t siteId);
    void SiteSchemaStep_1_0260(std::int32_t siteId);
    void SiteSchemaStep_1_0262(std::int32_t siteId);
    void SiteSchemaStep_1_0264(std::int32_t siteId);
    void MeasureUploadedFiles(std::int32_t siteId, StringRef form, StringRef field,
                              bool secureFiles);

    // --- src/migrations/site_content --------------------------------------------------------
    void SiteContentStep_1_0001(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0002(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0003(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0004(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0005(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0006(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0007(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0008(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0009(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0010(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0011(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0012(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0015(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0016(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0017(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0019(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0020(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0021(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0022(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0023(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0025(std::int32_t siteId, Boolean& result);
    void SiteContentStep_1_0026(std::int32_t siteId);
    void SiteContentStep_1_0027(std::int32_t siteId);
    void SiteContentStep_1_0029(std::int32_t siteId);
    void SiteContentStep_1_0030(std::int32_t siteId);
    void SiteContentStep_1_0031(std::int32_t siteId);
    void SiteContentStep_1_0032(std::int32_t siteId);
    void SiteContentStep_1_0037(std::int32_t siteId);
    void SiteContentStep_1_0039(std::int32_t siteId);
    void SiteContentStep_1_0042(std::int32_t siteId);
    void SiteContentStep_1_0043(std::int32_t siteId);
    void SiteContentStep_1_0044(std::int32_t siteId);
    void SiteContentStep_1_0048(std::int32_t siteId);
    void SiteContentStep_1_0049(std::int32_t siteId);
    void SiteContentStep_1_0050(std::int32_t siteId);
    void SiteContentStep_1_0051(std::int32_t siteId);
    void SiteContentStep_1_0054(std::int32_t siteId);
    void SiteContentStep_1_0055(std::int32_t siteId);
    void SiteContentStep_1_0057(std::int32_t siteId);
    void SiteContentStep_1_0058(std::int32_t siteId);
    void SiteContentStep_1_0061(std::int32_t siteId);
    void SiteContentStep_1_0062(std::int32_t siteId);
    void SiteContentStep_1_0063(std::int32_t siteId);
    void SiteContentStep_1_0066(std::int32_t siteId);
    void SiteContentStep_1_0068(std::int32_t siteId);
    void SiteContentStep_1_0069(std::int32_t siteId);
    void SiteContentStep_1_0071(std::int32_t siteId);
    void SiteContentStep_1_0072(std::int32_t siteId);
    void SiteContentStep_1_0074(std::int32_t siteId);
    void SiteContentStep_1_0078(std::int32_t siteId);
    void SiteContentStep_1_0080(std::int32_t siteId);
    void SiteContentStep_1_0081(std::int32_t siteId);
    void SiteContentStep_1_0082(std::int32_t siteId);
    void SiteContentStep_1_0086(std::int32_t siteId);
    void SiteContentStep_1_0087(std::int32_t siteId);
    void SiteContentStep_1_0089(std::int32_t siteId);
    void SiteContentStep_1_0090(std::int32_t siteId);
    void SiteContentStep_1_0091(std::int32_t siteId);
    void SiteContentStep_1_0094(std::int32_t siteId);
    void SiteContentStep_1_0096(std::int32_t siteId);
    void SiteContentStep_1_0098(std::int32_t siteId);
    void SiteContentStep_1_0099(std::int32_t siteId);
    void SiteContentStep_1_0100(std::int32_t siteId);
    void SiteContentStep_1_0222(std::int32_t siteId);
    void SiteContentStep_1_0223(std::int32_t siteId);
    void SiteContentStep_1_0225(std::int32_t siteId);
    void SiteContentStep_1_0229(std::int32_t siteId);
    void SiteContentStep_1_0234(std::int32_t siteId);
    void SiteContentStep_1_0235(std::int32_t siteId);
    void SiteContentStep_1_0236(std::int32_t siteId);
    void SiteContentStep_1_0237(std::int32_t siteId);
    void SiteContentStep_1_0238(std::int32_t siteId);
    void SiteContentStep_1_0239(std::int32_t siteId);
    void SiteContentStep_1_0240(std::int32_t siteId);
    void SiteContentStep_1_0242(std::int32_t siteId);
    void SiteContentStep_1_0245(std::int32_t siteId);
    void SiteContentStep_1_0254(std::int32_t siteId);
    void SiteContentStep_1_0255(std::int32_t siteId);
    void SiteContentStep_1_0256(std::int32_t siteId);
    void SiteContentStep_1_0257(std::int32_t siteId);
    void SiteContentStep_1_0258(std::int32_t siteId);
    void SiteContentStep_1_0259(std::int32_t siteId);
    void SiteContentStep_1_0261(std::int32_t siteId);
    void AddResetPasswordEvent(std::int32_t siteId);
    void ConvertExplicitLayoutElements(std::int32_t siteId);
    void ConvertChargesToGroups(std::int32_t siteId);
    void UpdateForumThreadStatistics(std::int32_t siteId, std::int32_t fromId, std::int32_t toId,
                                     bool publishedOnly);
    // component_services.cpp
    std::shared_ptr<Component> ComponentDefinition(std::int32_t componentId);
    void UpgradeSiteComponent(std::int32_t siteId, std::int32_t componentId);
    void RefreshSiteComponent(std::int32_t siteId, std::int32_t componentId);
    void InitialiseSiteComponent(std::int32_t siteId, std::int32_t componentId);
    void ResetSiteComponent(std::int32_t siteId, std::int32_t componentId);
    void RenewComponentFiles(std::int32_t siteId, std::int32_t componentId);
    // settings.cpp
    std::int32_t OverrideOfPage(StringRef db, std::int32_t featureId);
    bool SettingExists(StringRef db, std::int32_t overrideId, StringRef name);
    std::string TextSetting(StringRef db, std::int32_t featureId, StringRef name);
    void AddStringSetting(StringRef db, std::int32_t overrideId, StringRef name, StringRef value);
    void AddTextSetting(StringRef db, std::int32_t overrideId, StringRef name, StringRef value);
    void AddIntegerSetting(StringRef db, std::int32_t overrideId, StringRef name,
                           std::int32_t value);
    // helpers of single steps
    struct TextEmbeds;
    std::int32_t EventBeingAdded(StringRef db, std::int32_t featureId, StringRef name);
    void AddEmailPart(StringRef db, std::int32_t eventId, std::int32_t sequence, StringRef name,
                      std::int32_t emailId);
    void FinishEvent(StringRef db, std::int32_t eventId, StringRef name);
    std::int32_t ResetPasswordEmail(StringRef db, std::int32_t featureId);
    std::int32_t FindTag(StringRef db, StringRef name, StringRef condition);
    std::int32_t AddTag(StringRef db, std::int32_t templateId, std::int32_t overrideId,
                        StringRef name);
    void CopyMissingAttributes(StringRef db, std::int32_t fromTagId, std::int32_t toTagId,
                               std::string_view filter);
    void DropTemplateCaches(StringRef db, std::int32_t type);
    std::int32_t HomePage(std::int32_t siteId);
    std::shared_ptr<Recordset> OpenPagesOfComponent(StringRef db, std::int32_t componentId,
                                                    std::int32_t lastFeatureId);
    std::shared_ptr<Recordset> OpenForms(StringRef db, std::int32_t lastFormId);
    void SetFirstText(StringRef db, std::int32_t featureId, std::int32_t subfeatureId,
                      StringRef text);
    void AddDisplaySequences(StringRef db, std::int32_t featureId);
    void MergeAddressLines(StringRef db, StringRef table, StringRef key,
                           const std::vector<std::string>& addresses);
    void RequireCartOrderColumn(std::int32_t siteId);
    void LinkCommissionPayments(std::int32_t siteId, std::int32_t above, std::int32_t upTo);
    void RecordFormFeatureId(StringRef db, std::int32_t formFeatureId);
    void MakeUrlCanonical(StringRef db, std::int32_t featureId, StringRef url);

    // --- src/migrations/server --------------------------------------------------------------
    void ServerStep_1_0002(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerStep_1_0013(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerStep_1_0024(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerStep_1_0026(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerStep_1_0030(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerStep_1_0035(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerStep_1_0039(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerStep_1_0040(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerStep_1_0041(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerStep_1_0047(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerStep_1_0056(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerStep_1_0063(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerStep_1_0074(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerStep_1_0076(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerStep_1_0220(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerStep_1_0223(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerStep_1_0253(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerStep_1_0264(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerDataStep_1_0026(StringRef databaseName, StringRef tablePrefix, bool isSite,
                               Boolean& result);
    void ServerDataStep_1_0030(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerDataStep_1_0036(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerDataStep_1_0063(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ServerDataStep_1_0252(StringRef databaseName, StringRef tablePrefix, bool isSite);
    std::int32_t FindRootSite(StringRef databaseName, StringRef tablePrefix);
    void RegisterCentralDomain(StringRef databaseName, StringRef tablePrefix, std::int32_t siteId,
                               StringRef escapedHost);
    void RegisterSiteDomain(std::int32_t siteId, StringRef escapedHost);
    void ReimportReferenceData(StringRef databaseName, StringRef tablePrefix, bool isSite);
    void ReimportReferenceData(StringRef databaseName, StringRef tablePrefix, bool isSite,
                               Boolean& result);

    // --- src/coredb -------------------------------------------------------------------------
    void ImportReferenceData(StringRef table, const std::vector<std::string>& columns);
    void ImportComponentReferenceData();
    static std::string ConvertOrderDetailsTags(std::string_view text);

    std::shared_ptr<Utility> p_oUtility;

    // Part of the object's declared state, kept empty: what a run needs travels as arguments.
    [[maybe_unused]] std::int32_t p_lSiteId = 0;
    [[maybe_unused]] double p_dblVersion = 0;
    [[maybe_unused]] double p_dServerVersion = 0;
    [[maybe_unused]] std::shared_ptr<Feature> p_oFeature;
    [[maybe_unused]] std::string p_sNameSetting;
    [[maybe_unused]] std::string p_sOrganizationSetting;
    [[maybe_unused]] std::string p_sAddressSetting;
    [[maybe_unused]] std::string p_sCountrySetting;
    [[maybe_unused]] std::string p_sPostCodeSetting;
    [[maybe_unused]] std::string p_sEmailSetting;
    [[maybe_unused]] std::string p_sTelephoneSetting;
};

}  // namespace twupdate
