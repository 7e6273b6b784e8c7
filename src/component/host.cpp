#include "twupdate/host.h"

#include "component/install_folder.h"

namespace twupdate {

// Defined here, not in the class, so that each class has its type information in one place.
Field::~Field() = default;
Fields::~Fields() = default;
Recordset::~Recordset() = default;
Reader::~Reader() = default;
Database::~Database() = default;
Command::~Command() = default;
CommandFactory::~CommandFactory() = default;
Component::~Component() = default;
ComponentList::~ComponentList() = default;
Application::~Application() = default;
ComponentHost::~ComponentHost() = default;
Feature::~Feature() = default;
Observer::~Observer() = default;
Utility::~Utility() = default;

void Observer::LadderStarting(Ladder, const std::string&, double) {}
void Observer::LadderEnded(Ladder, const std::string&) {}
void Observer::StepStarting(const LadderStep&, const std::string&) {}
void Observer::StepEnded(const LadderStep&, const std::string&) {}
void Observer::SiteWalkStarting() {}
void Observer::SiteStarting(std::int32_t, double) {}
void Observer::SiteEnded(std::int32_t) {}
void Observer::FileCopied(const std::filesystem::path&, const std::filesystem::path&) {}

std::filesystem::path Utility::InstallFolder() {
    return FolderOfThisCode();
}

std::shared_ptr<twupdate::Observer> Utility::GetObserver() {
    return nullptr;
}

std::string Utility::LocalHostName() {
    return "localhost";
}

}  // namespace twupdate
