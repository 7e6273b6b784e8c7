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
/// A version is a double with four decimals, 1.0000 to kCurrentVersion. A database runs exactly the
/// steps whose threshold its version is strictly below; a version that is not a number runs all.
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

    // --- src/component: access to the host -------------------------------------------------
    Utility& Host() const;
    void Execute(const std::string& sql);
    std::shared_ptr<Recordset> OpenRecordset(const std::string& sql);
    std::shared_ptr<Reader> OpenReader(const std::string& sql);
    std::int32_t GetLastInsertId();

    // --- src/component: drivers -------------------------------------------------------------
    Boolean RunSiteSchemaLadder(std::int32_t siteId, double version);
    void RunSiteContentLadder(std::int32_t siteId, double version);
    Boolean RunServerUpgrade(double version, std::int32_t siteId);
    void RunServerLadders(double version, const std::string& databaseName,
                          const std::string& tablePrefix, bool isSite);
    void UpgradeOldSites();
    std::shared_ptr<Recordset> EnumerateSites(std::int32_t lastSiteId, std::int32_t limit,
                                              double version);
    void RefreshApplication();
    template <typename Rungs, typename... Arguments>
    void WalkLadder(Ladder ladder, const Rungs& rungs, const std::string& database, double version,
                    const Arguments&... arguments);
    static std::string GetFileExtension(const std::string& path);

    // --- src/dbutil: schema primitives ------------------------------------------------------
    bool TableExists(const std::string& db, const std::string& table);
    bool ColumnExists(const std::string& db, const std::string& table, const std::string& column);
    bool IndexExists(const std::string& db, const std::string& table, const std::string& index);
    void AddColumnIfMissing(const std::string& db, const std::string& table,
                            const std::string& column, const std::string& definition);
    void AddColumn(const std::string& db, const std::string& table, const std::string& column,
                   const std::string& definition);
    void DropColumn(const std::string& db, const std::string& table, const std::string& column);
    void DropColumnByQuery(const std::string& db, const std::string& table,
                           const std::string& column);
    void DropIndex(const std::string& db, const std::string& table, const std::string& index);
    void AddIndexIfMissing(const std::string& db, const std::string& table,
                           const std::string& index, const std::string& columns);
    void AddIndex(const std::string& db, const std::string& table, const std::string& index,
                  const std::string& columns);
    void ConvertFloatToDouble(const std::string& db, const std::string& table,
                              const std::string& column);
    void ConvertToDecimal(const std::string& db, const std::string& table,
                          const std::string& column);

    // --- src/dbutil: literal helpers --------------------------------------------------------
    static std::string SqlEscape(std::string_view text);
    static std::string FieldText(const Field& field);
    static std::int32_t NumberOrDefault(const Value& value, std::int32_t defaultNumber);
    static std::string DecodeAngleBrackets(std::string_view text);
    static std::string NumberToLetters(std::int32_t n);
    static std::vector<std::int32_t> FixedIdList();

    // --- src/dbutil: site file provisioning -------------------------------------------------
    void CopySiteTemplate(std::int32_t siteId, const std::string& subFolder);
    void CopySiteTemplates(std::int32_t siteId);
    void CopyComponentTemplate(std::int32_t siteId, const Component& component, bool overwrite,
                               Boolean& result);

    // --- src/migrations: the steps, as the ladders name them -----------------------------------
#define TWU_SITE_SCHEMA_STEP(threshold, step, description) void step(std::int32_t siteId);
#define TWU_SITE_SCHEMA_STEP_AGAIN(threshold, step, description)
#define TWU_SITE_CONTENT_STEP(threshold, step, description) void step(std::int32_t siteId);
#define TWU_SITE_CONTENT_STEP_AGAIN(threshold, step, description)
#define TWU_SITE_CONTENT_STEP_WITH_RESULT(threshold, step, description) \
    void step(std::int32_t siteId, Boolean& result);
#define TWU_SERVER_STEP(threshold, step, description) \
    void step(const std::string& databaseName, const std::string& tablePrefix, bool isSite);
#define TWU_SERVER_DATA_STEP(threshold, step, description) \
    void step(const std::string& databaseName, const std::string& tablePrefix, bool isSite);
#define TWU_SERVER_DATA_STEP_AGAIN(threshold, step, description)
#define TWU_SERVER_DATA_STEP_WITH_RESULT(threshold, step, description)                      \
    void step(const std::string& databaseName, const std::string& tablePrefix, bool isSite, \
              Boolean& result);
#define TWU_SERVER_DATA_STEP_WITH_RESULT_AGAIN(threshold, step, description)
#include "twupdate/ladders.def"

    // --- src/migrations/site_schema ---------------------------------------------------------
    void MeasureUploadedFiles(std::int32_t siteId, const std::string& form,
                              const std::string& field, bool secureFiles);

    // --- src/migrations/site_content --------------------------------------------------------
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
    std::int32_t OverrideOfPage(const std::string& db, std::int32_t featureId);
    bool SettingExists(const std::string& db, std::int32_t overrideId, const std::string& name);
    std::string TextSetting(const std::string& db, std::int32_t featureId, const std::string& name);
    void AddStringSetting(const std::string& db, std::int32_t overrideId, const std::string& name,
                          const std::string& value);
    void AddTextSetting(const std::string& db, std::int32_t overrideId, const std::string& name,
                        const std::string& value);
    void AddIntegerSetting(const std::string& db, std::int32_t overrideId, const std::string& name,
                           std::int32_t value);
    // helpers of single steps
    struct TextEmbeds;
    std::int32_t EventBeingAdded(const std::string& db, std::int32_t featureId,
                                 const std::string& name);
    void AddEmailPart(const std::string& db, std::int32_t eventId, std::int32_t sequence,
                      const std::string& name, std::int32_t emailId);
    void FinishEvent(const std::string& db, std::int32_t eventId, const std::string& name);
    std::int32_t ResetPasswordEmail(const std::string& db, std::int32_t featureId);
    std::int32_t FindTag(const std::string& db, const std::string& name,
                         const std::string& condition);
    std::int32_t AddTag(const std::string& db, std::int32_t templateId, std::int32_t overrideId,
                        const std::string& name);
    void CopyMissingAttributes(const std::string& db, std::int32_t fromTagId, std::int32_t toTagId,
                               std::string_view filter);
    void DropTemplateCaches(const std::string& db, std::int32_t type);
    std::int32_t HomePage(std::int32_t siteId);
    std::shared_ptr<Recordset> OpenPagesOfComponent(const std::string& db, std::int32_t componentId,
                                                    std::int32_t lastFeatureId);
    std::shared_ptr<Recordset> OpenForms(const std::string& db, std::int32_t lastFormId);
    void SetFirstText(const std::string& db, std::int32_t featureId, std::int32_t subfeatureId,
                      const std::string& text);
    void AddDisplaySequences(const std::string& db, std::int32_t featureId);
    void MergeAddressLines(const std::string& db, const std::string& table, const std::string& key,
                           const std::vector<std::string>& addresses);
    void RequireCartOrderColumn(std::int32_t siteId);
    void LinkCommissionPayments(std::int32_t siteId, std::int32_t above, std::int32_t upTo);
    void RecordFormFeatureId(const std::string& db, std::int32_t formFeatureId);
    void MakeUrlCanonical(const std::string& db, std::int32_t featureId, const std::string& url);

    // --- src/migrations/server --------------------------------------------------------------
    std::int32_t FindRootSite(const std::string& databaseName, const std::string& tablePrefix);
    void RegisterCentralDomain(const std::string& databaseName, const std::string& tablePrefix,
                               std::int32_t siteId, const std::string& escapedHost);
    void RegisterSiteDomain(std::int32_t siteId, const std::string& escapedHost);
    void ReimportReferenceData(const std::string& databaseName, const std::string& tablePrefix,
                               bool isSite);
    void ReimportReferenceData(const std::string& databaseName, const std::string& tablePrefix,
                               bool isSite, Boolean& result);

    // --- src/coredb -------------------------------------------------------------------------
    void ImportReferenceData(const std::string& table, const std::vector<std::string>& columns);
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
