#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "sample/layouts.h"
#include "sample/older_host.h"
#include "twupdate/host.h"

namespace twupdate::sample {

/// One site of the sample installation.
struct SitePlan {
    std::int32_t siteId = 0;
    Groups groups;
    Age age;                       ///< how far its ladders have come
    double recordedVersion = 1.0;  ///< what the central database says
    bool deleted = false;
    bool hardDeleted = false;
    bool inTransaction = false;
    bool isTemplate = false;
    bool hasDomains = true;
    bool hasLog = true;
};

struct InstallationOptions {
    std::int32_t sites = 5;
    /// Rows in each of the large tables: pages, users, hits, orders, postings, form records, … With
    /// 0 there are only the rows with fixed ids.
    std::int32_t rows = 100;
    std::uint64_t seed = 1;
    /// Where the installation's files go; empty: none are written. The component's own folder is
    /// `update` in it.
    std::filesystem::path root;
    std::filesystem::path layoutFolder = Layouts::DefaultFolder();
    std::filesystem::path rowFolder = DefaultRowFolder();
    /// The reference data that is copied into `root / "update" / "resources"`.
    std::filesystem::path resourceFolder = DefaultResourceFolder();
    /// Is called for each site before it is made, with its number from 1 and how many there are.
    std::function<void(std::size_t number, std::size_t sites)> siteStarting = {};

    /// Where the rows with fixed ids stand and where the reference data; found like the layouts.
    static std::filesystem::path DefaultRowFolder();
    static std::filesystem::path DefaultResourceFolder();
};

/// The sites of an installation of so many sites, in ascending order of their ids, from 1. The
/// first is the root site. The first five show every state that a site can be in; after them ages,
/// features and states take turns.
std::vector<SitePlan> PlanSites(std::int32_t count);

/// Makes an old installation: the central database at 1.0000, the logs, the sites at their ages,
/// and the files. What it makes depends on nothing but the options.
///
/// A site in transaction needs the column `site.transaction`, which the central database at 1.0000
/// does not have yet. Where a site is planned so, the column is there: an upgrade that was
/// interrupted short left it behind.
/// @param host  a host on a server without databases of the platform; its install folder should
///              be `options.root / "update"`, so that older sites get their files
/// @throws HostError when a database exists already
void MakeInstallation(const std::shared_ptr<Utility>& host, const InstallationOptions& options);

/// Makes one site of an installation whose central database stands; for tests and benchmarks.
void MakeSite(const std::shared_ptr<Utility>& host, const InstallationOptions& options,
              const SitePlan& plan);

/// Makes the central database with the sites' rows in it, without their databases.
void MakeCentral(const std::shared_ptr<Utility>& host, const InstallationOptions& options,
                 const std::vector<SitePlan>& sites);

/// Writes the files of the installation: the site templates, the components' templates, every
/// site's folders with uploaded files, and the component's own folder with its reference data.
void WriteFiles(const InstallationOptions& options, const std::vector<SitePlan>& sites);

}  // namespace twupdate::sample
