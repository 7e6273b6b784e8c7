#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "twupdate/error.h"
#include "twupdate/export.h"
#include "twupdate/ladder.h"
#include "twupdate/value.h"

/// The interfaces through which the component reaches its host. The host implements them; the
/// component only calls them. Every operation may throw HostError, which passes through the
/// component unchanged. Operations stand in the order of their slots in the platform's own
/// interfaces; slots that the component does not use are left out.
namespace twupdate {

/// One column of a recordset's current row.
class TWUPDATE_EXPORT Field {
  public:
    virtual ~Field();
    /// The value in the current row; NULL is a null Value.
    virtual twupdate::Value Value() const = 0;
};

/// The columns of a recordset, by name.
class TWUPDATE_EXPORT Fields {
  public:
    virtual ~Fields();
    /// The column of that name (compared without regard to letter case, as the server does).
    /// The reference is valid as long as the recordset is open.
    /// @throws HostError naming the column when the recordset has none of that name
    virtual const Field& Item(std::string_view column) const = 0;
};

/// A forward-only result that is read row by row. It is independent of later statements: any
/// statement may run while it is open. The component closes every recordset that it has read to
/// the end; one that is given up because of an error is closed by its destructor.
class TWUPDATE_EXPORT Recordset {
  public:
    virtual ~Recordset();
    /// True when there is no current row: an empty result, or past the last row.
    virtual bool IsEOF() const = 0;
    /// The columns of the current row. Not to be called at the end.
    virtual const twupdate::Fields& Fields() const = 0;
    /// Goes to the next row, or to the end.
    virtual void MoveNext() = 0;
    /// Frees the result. Nothing but destruction follows; a second call does nothing.
    virtual void Close() = 0;
};

/// A light forward-only result, used by the schema inspections. Closed like a Recordset.
class TWUPDATE_EXPORT Reader {
  public:
    virtual ~Reader();
    /// True when there is no current row.  (slot 0)
    virtual bool IsEOF() const = 0;
    /// Goes to the next row, or to the end.  (slot 1)
    virtual void ReaderMoveNext() = 0;
    /// Frees the result.  (slot 2)
    virtual void ReaderClose() = 0;
    /// The value of the column of that name in the current row.  (slot 5)
    /// @throws HostError naming the column when there is none of that name
    virtual Value GetField(std::string_view column) const = 0;
};

/// A connection to the database server. The component asks for a fresh object before every
/// statement and never keeps one; all objects of one Utility share one connection, so that
/// GetLastInsertId on one sees the INSERT that ran on another.
class TWUPDATE_EXPORT Database {
  public:
    virtual ~Database();
    /// Runs one statement and returns its rows; a statement without rows gives an empty
    /// recordset. The two options are always 0.  (slot 1)
    /// @throws HostError when the server rejects the statement or the connection is lost
    virtual std::shared_ptr<Recordset> OpenRecordset(const std::string& sql, std::int32_t option1,
                                                     std::int32_t option2) = 0;
    /// Runs one statement to its end and discards whatever rows it returns. `rowsAffected`
    /// receives the number of rows changed, or -1 where that is not known; the component does not
    /// read it.  (slot 2)
    virtual void Execute(const std::string& sql, std::int64_t& rowsAffected) = 0;
    /// Stores in `id` the AUTO_INCREMENT id made by the connection's last INSERT.  (slot 5)
    /// @throws OverflowError when it does not fit
    virtual void GetLastInsertId(std::int32_t& id) = 0;
    /// Runs one statement and returns its rows as a Reader.  (slot 6)
    virtual std::shared_ptr<Reader> OpenReader(const std::string& sql) = 0;
};

/// One parameterised statement. Parameters are bound in order to the `?` markers; they stay bound
/// when the text is set again, so one command can run several texts with the same values.
class TWUPDATE_EXPORT Command {
  public:
    virtual ~Command();
    /// The command is finished with: frees what it holds.  (slot 0)
    virtual void CloseCommand() = 0;
    /// Binds a copy of `value` to the next `?` marker.  (slot 1)
    virtual void AddParameter(const Value& value) = 0;
    /// Sets the statement's text, keeping the bound parameters.  (slot 3)
    virtual void SetText(const std::string& sql) = 0;
    /// Runs the statement on `database` and returns its rows; the recordset outlives the command.
    /// (slot 4)
    virtual std::shared_ptr<Recordset> OpenCommandRecordset(
        const std::shared_ptr<Database>& database) = 0;
    /// Runs the statement on `database`; `rowsAffected` as in Database::Execute.  (slot 5)
    virtual void ExecuteCommand(const std::shared_ptr<Database>& database,
                                std::int64_t& rowsAffected) = 0;
};

class TWUPDATE_EXPORT CommandFactory {
  public:
    virtual ~CommandFactory();
    /// A new command without text or parameters.  (slot 2)
    virtual std::shared_ptr<Command> NewCommand() = 0;
};

/// The definition of one component type of the platform.
class TWUPDATE_EXPORT Component {
  public:
    virtual ~Component();
    /// The component id, such as 1000.  (slot 0)
    virtual std::int32_t GetComponentId() const = 0;
    /// The component's name, for people.  (slot 1)
    virtual std::string GetComponentName() const = 0;
    /// The name of its folder under the installation's `components` folder.  (slot 2)
    virtual std::string GetFolderName() const = 0;
};

/// The component types of the installation.
class TWUPDATE_EXPORT ComponentList {
  public:
    virtual ~ComponentList();
    /// The definition with that id.
    /// @throws HostError naming the id when the installation has no such component
    virtual std::shared_ptr<Component> Item(std::int32_t componentId) = 0;
};

/// The platform's running application.
class TWUPDATE_EXPORT Application {
  public:
    virtual ~Application();
    /// Makes the running platform load its settings and components again.  (slot 4)
    virtual void Refresh() = 0;
};

/// The platform's component services. A service that does not succeed throws HostError.
class TWUPDATE_EXPORT ComponentHost {
  public:
    virtual ~ComponentHost();
    /// The component types of the installation.
    virtual std::shared_ptr<ComponentList> GetComponentList() = 0;
    /// Brings the component's stored data in the site to the current layout.
    virtual void UpgradeSiteComponent(std::int32_t siteId,
                                      const std::shared_ptr<Component>& component) = 0;
    /// Renews what the component derives from its definition (texts, events, default styles).
    virtual void RefreshSiteComponent(std::int32_t siteId,
                                      const std::shared_ptr<Component>& component) = 0;
    /// Sets the component up in a site that does not have it yet.
    virtual void InitialiseSiteComponent(std::int32_t siteId,
                                         const std::shared_ptr<Component>& component) = 0;
    /// Drops what the platform has cached of the component in the site.
    virtual void ResetSiteComponent(std::int32_t siteId, std::int32_t componentId) = 0;
    /// The running application.  (slot 29)
    virtual std::shared_ptr<Application> GetApplication() = 0;
};

/// A page of a site, as far as its settings are concerned.
class TWUPDATE_EXPORT Feature {
  public:
    virtual ~Feature();
    /// The value of the named setting; NULL when the page does not store it.
    virtual Value GetSetting(const std::string& name) = 0;
};

/// Follows the progress of a run. Every operation does nothing unless overridden. Failures are not
/// reported: the step or site that started and did not end is the one that failed. An exception
/// thrown by an observer ends the run there, like a failing host call, so a tool can stop a run
/// between two statements of its choice.
class TWUPDATE_EXPORT Observer {
  public:
    virtual ~Observer();
    /// A ladder is about to be walked for a database at `version`, which may be NaN.
    virtual void LadderStarting(Ladder ladder, const std::string& database, double version);
    virtual void LadderEnded(Ladder ladder, const std::string& database);
    /// A step is about to run. Called for the steps that run, not for those skipped.
    virtual void StepStarting(const LadderStep& step, const std::string& database);
    virtual void StepEnded(const LadderStep& step, const std::string& database);
    /// The server ladders have ended and the walk over the sites is about to begin.
    virtual void SiteWalkStarting();
    /// A site is about to be upgraded from `version`.
    virtual void SiteStarting(std::int32_t siteId, double version);
    /// Both ladders of the site have ended and, in the site walk, its version is recorded.
    virtual void SiteEnded(std::int32_t siteId);
    /// A template file has been copied into a folder of a site.
    virtual void FileCopied(const std::filesystem::path& source,
                            const std::filesystem::path& destination);
};

/// The host object that is passed to Update::Configure.
class TWUPDATE_EXPORT Utility {
  public:
    virtual ~Utility();
    /// A Database object; called afresh before every statement.  (slot 0)
    virtual std::shared_ptr<Database> GetDatabase() = 0;
    /// The platform's component services.  (slot 1)
    virtual std::shared_ptr<ComponentHost> GetComponentHost() = 0;
    /// The maker of parameterised statements.  (slot 5)
    virtual std::shared_ptr<CommandFactory> GetCommandFactory() = 0;

    // Not part of the platform's interface; each has a default.

    /// The folder in which the component is installed: which contains `resources`; its parent is
    /// the installation root (`templates`, `wwwroot`, `sites_secure`, `components`). The default
    /// is the folder of the file that the component was loaded from.
    virtual std::filesystem::path InstallFolder();
    /// Who is notified of progress; the default is nobody.
    virtual std::shared_ptr<twupdate::Observer> GetObserver();
    /// The host name under which the installation answers on the local machine, registered as a
    /// domain of the root site by ServerDataStep_1_0252. The default is "localhost".
    virtual std::string LocalHostName();
};

}  // namespace twupdate
