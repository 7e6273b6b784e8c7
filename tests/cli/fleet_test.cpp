#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <fstream>
#include <thread>

#include "cli/installation_fixture.h"
#include "cli/program.h"
#include "support/free_port.h"
#include "support/lines.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;

constexpr const char* kRecipes = TWUPDATE_SOURCE_FOLDER "/examples/fleet";

bool IsThere(const std::string& program) {
    return std::system(("command -v " + program + " >/dev/null 2>&1").c_str()) == 0;
}

/// Waits as long as three upgrades may take.
bool WaitLong(const std::function<bool()>& condition) {
    for (int i = 0; i < 1200 && !condition(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return condition();
}

/// Three servers, each with an installation at 1.0000 that has one site, and the recipes of
/// examples/fleet to upgrade them.
class Fleet : public InstallationTest {
  protected:
    static constexpr std::array<const char*, 3> kNames{"eu1", "eu2", "us1"};

    void MakeInstallations() {
        std::string options = "[twupdate]\nuser=root\nno-services\nno-site-files\n";
        std::string list;
        for (const char* name : kNames) {
            host::PrivateServerOptions server;
            server.fast = true;
            servers_.push_back(std::make_unique<host::PrivateServer>(folder_ / name, server));
            UseServer(servers_.size() - 1);
            MakeCentralDatabase();
            MakeSite(7);
            options += std::string("[twupdate-") + name +
                       "]\nsocket=" + servers_.back()->Socket().string() + "\n";
            list += std::string(name) + "\n";
        }
        WriteFile(folder_ / "fleet.cnf", options);
        WriteFile(List(), list);
    }
    ~Fleet() override { CliServer::Get().UseInstead(std::nullopt); }

    void UseServer(std::size_t number) {
        CliServer::Get().UseInstead(servers_[number]->ConnectOptions());
    }
    std::string List() const { return (folder_ / "installations.txt").string(); }
    std::string Night() const { return (folder_ / "night").string(); }
    std::string Events(const std::string& name) const { return Night() + "/" + name + ".jsonl"; }

    /// The program is found where it was built, and its options where the test has put them.
    std::map<std::string, std::string> Environment() const {
        return {{"PATH", BuiltProgram().parent_path().string() + ":/usr/bin:/bin"},
                {"HOME", folder_.Path().string()},
                {"TWUPDATE_DEFAULTS_FILE", (folder_ / "fleet.cnf").string()}};
    }

    /// The process that upgrades the installation; 0 without one.
    pid_t RunOf(const std::string& name) const {
        for (const auto& entry : fs::directory_iterator("/proc")) {
            const std::string id = entry.path().filename();
            std::error_code ignored;
            if (id.find_first_not_of("0123456789") != std::string::npos ||
                fs::read_symlink(entry.path() / "exe", ignored) != fs::canonical(BuiltProgram())) {
                continue;
            }
            std::ifstream file(entry.path() / "cmdline", std::ios::binary);
            const std::string words{std::istreambuf_iterator<char>(file), {}};
            if (words.find(Events(name)) != std::string::npos) {
                return static_cast<pid_t>(std::stol(id));
            }
        }
        return 0;
    }

    /// Waits until the run of the second installation waits for the reader there, and kills it.
    void KillTheSecond() {
        UseServer(1);
        ASSERT_TRUE(WaitLong([] { return SomebodyWaits(); }));
        const pid_t run = RunOf("eu2");
        ASSERT_NE(run, 0);
        kill(run, SIGKILL);
    }

    void ExpectAllDone() {
        for (std::size_t i = 0; i < kNames.size(); ++i) {
            SCOPED_TRACE(kNames[i]);
            UseServer(i);
            EXPECT_EQ(InstallationVersion(), kCurrentStored);
            EXPECT_EQ(SiteVersion(7), kCurrentStored);
            const std::string suffix = std::string("--defaults-group-suffix=-") + kNames[i];
            const Outcome verified = RunProgram({suffix, "verify"}, Environment());
            EXPECT_EQ(verified.status, 0) << verified.out << verified.err;
        }
        const std::string page = (folder_ / "page.html").string();
        const std::vector<std::string> events{"--events",    Events("eu1"), "--events",
                                              Events("eu2"), "--events",    Events("us1")};
        std::vector<std::string> report{"report", page};
        report.insert(report.end(), events.begin(), events.end());
        EXPECT_EQ(RunProgram(report).status, 0);
        const std::string html = ContentOf(page);
        for (const char* name : kNames) {
            EXPECT_THAT(html, HasSubstr("<th scope=\"row\">" + std::string(name) +
                                        "</th><td><span class=\"good-word\">✓ finished"));
        }
        EXPECT_THAT(html, HasSubstr(": did not end</title>")) << "the run that was killed";
        EXPECT_THAT(html, HasSubstr("The last run of each of the 3 installations"));
        std::vector<std::string> status{"status", "--exit-code"};
        status.insert(status.end(), events.begin(), events.end());
        EXPECT_EQ(RunProgram(status).status, 0);
    }

    std::vector<std::unique_ptr<host::PrivateServer>> servers_;
};

/// A controller and a daemon of Slurm for this user, on the loopback device; both end with the
/// test.
class Slurm {
  public:
    static constexpr const char* kFolder = TWUPDATE_SOURCE_FOLDER "/build/slurm";

    explicit Slurm(const fs::path& folder) : folder_(folder) {
        for (const char* part : {"", "state", "spool"}) {
            fs::create_directories(folder_ / part);
        }
        WriteFile(folder_ / "munge.key", std::string(1024, 'k'));
        chmod((folder_ / "munge.key").c_str(), 0600);
        WriteFile(folder_ / "slurm.conf", Configuration());
        Start("/usr/sbin/munged",
              {"--force", "--foreground", "--socket", Path("munge.sock"), "--key-file",
               Path("munge.key"), "--pid-file", Path("munged.pid"), "--log-file",
               Path("munged.log"), "--seed-file", Path("munged.seed")});
        EXPECT_TRUE(WaitUntil([&] { return fs::exists(Path("munge.sock")); }));
        Start("/usr/sbin/slurmctld-wlm", {"-D", "-c"});
        Start("/usr/sbin/slurmd-wlm",
              {"-D", "-N", "localhost", "-d", Program("/usr/sbin/slurmstepd-wlm")});
        EXPECT_TRUE(WaitLong([&] {
            return Call("sinfo", {"--noheader", "--format=%t"}).out == "idle\n";
        })) << ContentOf(Path("slurmctld.log"))
            << ContentOf(Path("slurmd.log"));
    }
    ~Slurm() {
        Call("scancel", {"--quiet", "--full", "--signal=KILL", "--name=twupdate"});
        for (auto daemon = daemons_.rbegin(); daemon != daemons_.rend(); ++daemon) {
            (*daemon)->Signal(SIGTERM);
            (*daemon)->Wait();
        }
    }
    Slurm(const Slurm&) = delete;
    Slurm& operator=(const Slurm&) = delete;

    /// Runs a program of the user, e.g. "squeue".
    Outcome Call(const std::string& program, const std::vector<std::string>& arguments,
                 std::map<std::string, std::string> environment = {}) const {
        environment.merge(Environment());
        return RunProgram(arguments, environment, RunAs::kSelf, Program("/usr/bin/" + program));
    }

    /// For the programs, and for the scripts that they run.
    std::map<std::string, std::string> Environment() const {
        return {{"SLURM_CONF", Path("slurm.conf")},
                {"LD_LIBRARY_PATH", Plugins() + ":" + kFolder + "/usr/lib/x86_64-linux-gnu"}};
    }

  private:
    std::string Path(const std::string& name) const { return (folder_ / name).string(); }
    static std::string Program(const std::string& path) { return kFolder + path; }
    static std::string Plugins() {
        return std::string(kFolder) + "/usr/lib/x86_64-linux-gnu/slurm-wlm";
    }

    std::string Configuration() const {
        const std::string user = getpwuid(geteuid())->pw_name;
        return "ClusterName=twupdate\nSlurmctldHost=localhost(127.0.0.1)\n"
               "SlurmUser=" +
               user + "\nSlurmdUser=" + user +
               "\nAuthType=auth/munge\nCredType=cred/munge\n"
               // A task that runs again waits until its first credential has expired.
               "AuthInfo=socket=" +
               Path("munge.sock") +
               ",cred_expire=5\n"
               "SlurmctldPort=" +
               std::to_string(FreePort()) + "\nSlurmdPort=" + std::to_string(FreePort()) +
               "\nPluginDir=" + Plugins() + "\nStateSaveLocation=" + Path("state") +
               "\nSlurmdSpoolDir=" + Path("spool") + "\nSlurmctldPidFile=" + Path("slurmctld.pid") +
               "\nSlurmdPidFile=" + Path("slurmd.pid") +
               "\nSlurmctldLogFile=" + Path("slurmctld.log") +
               "\nSlurmdLogFile=" + Path("slurmd.log") +
               "\nProctrackType=proctrack/linuxproc\nTaskPlugin=task/none\n"
               "JobAcctGatherType=jobacct_gather/none\nSwitchType=switch/none\nMpiDefault=none\n"
               "SelectType=select/cons_tres\nSelectTypeParameters=CR_Core\n"
               // Three tasks are to fit on any machine.
               "SlurmdParameters=config_overrides\n"
               "NodeName=localhost NodeAddr=127.0.0.1 CPUs=4 CoresPerSocket=4\n"
               "PartitionName=night Nodes=ALL Default=YES MaxTime=INFINITE State=UP\n";
    }

    void Start(const std::string& path, const std::vector<std::string>& arguments) {
        daemons_.push_back(
            std::make_unique<test::Program>(arguments, Environment(), RunAs::kSelf, Program(path)));
    }

    fs::path folder_;
    std::vector<std::unique_ptr<test::Program>> daemons_;
};

TEST_F(Fleet, SlurmRunsThreeInstallationsAndTheOneThatWasKilledAgain) {
    if (std::getenv("TWUPDATE_SOAK") == nullptr) {
        GTEST_SKIP() << "runs with TWUPDATE_SOAK=1";
    }
    if (!fs::exists(std::string(Slurm::kFolder) + "/usr/sbin/slurmctld-wlm")) {
        GTEST_SKIP() << "no " << Slurm::kFolder << "; ./dev soak unpacks it";
    }
    MakeInstallations();
    auto reader = host::Connection::Open(servers_[1]->ConnectOptions());
    reader->Execute("START TRANSACTION;");
    reader->Query("SELECT COUNT(*) FROM tw_7.setting;");
    const Slurm slurm(folder_ / "slurm");
    auto environment = Environment();
    environment["PATH"] += std::string(":") + Slurm::kFolder + "/usr/bin";
    const std::string log = (folder_ / "task-%a.log").string();
    const Outcome submitted =
        slurm.Call("sbatch",
                   {"--array=1-3%2", "--output=" + log, std::string(kRecipes) + "/slurm.sh", List(),
                    Night(), "--ddl-timeout", "60"},
                   environment);
    ASSERT_EQ(submitted.status, 0) << submitted.err;
    KillTheSecond();
    reader->Execute("COMMIT;");
    EXPECT_TRUE(WaitLong([&] {
        const Outcome queue = slurm.Call("squeue", {"--noheader"});
        return queue.status == 0 && queue.out.empty();
    })) << slurm.Call("squeue", {}).out;
    // The second task has written its log twice, in one file.
    EXPECT_THAT(ContentOf(folder_ / "task-2.log"),
                AllOf(HasSubstr("DUE TO JOB REQUEUE"), HasSubstr("\nDone: ")));
    ExpectAllDone();
}

TEST_F(Fleet, GnuParallelRunsThreeInstallationsAndTheOneThatWasKilledAgain) {
    if (!IsThere("parallel")) {
        GTEST_SKIP() << "no GNU parallel; ./dev test installs it";
    }
    MakeInstallations();
    UseServer(1);
    auto reader = host::Connection::Open(servers_[1]->ConnectOptions());
    reader->Execute("START TRANSACTION;");
    reader->Query("SELECT COUNT(*) FROM tw_7.setting;");
    const std::vector<std::string> words{std::string(kRecipes) + "/parallel.sh", List(), Night(),
                                         "--ddl-timeout", "60"};
    {
        Program night(words, Environment(), RunAs::kSelf, "/bin/bash");
        KillTheSecond();
        reader->Execute("COMMIT;");
        const Outcome outcome = night.Wait();
        EXPECT_EQ(outcome.status, 1) << outcome.err;  // the number of jobs that failed
        EXPECT_THAT(outcome.out, AllOf(HasSubstr("eu1\tDone: "), HasSubstr("us1\tDone: ")));
    }
    const auto began = std::chrono::steady_clock::now();
    Program again(words, Environment(), RunAs::kSelf, "/bin/bash");
    const Outcome outcome = again.Wait();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("eu2\tDone: "));
    EXPECT_EQ(outcome.out.find("eu1\t"), std::string::npos) << "only what had failed runs again";
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::minutes(2));
    // Three jobs and one of them again, below the title.
    EXPECT_EQ(LinesOf(ContentOf(Night() + "/joblog"), "").size(), 5u);
    ExpectAllDone();
}

// --- the script of the Slurm recipe, without Slurm -----------------------------------------------

/// The task of the second installation, with programs in the place of twupdate and of Slurm's.
class SlurmScript : public testing::Test {
  protected:
    SlurmScript() {
        WriteFile(folder_ / "installations.txt", "eu1\neu2\nus1\n");
        WriteProgram("scontrol", "echo \"$@\" >> \"$HOME/scontrol\"");
        WriteProgram("sleep", "exit 0");  // Slurm would end the script meanwhile
    }

    void WriteProgram(const std::string& name, const std::string& text) {
        const fs::path file = folder_ / "bin" / name;
        WriteFile(file, "#!/bin/sh\n" + text + "\n");
        fs::permissions(file, fs::perms::owner_all);
    }

    std::vector<std::string> Words() const {
        return {std::string(kRecipes) + "/slurm.sh", (folder_ / "installations.txt").string(),
                (folder_ / "night").string(), "--ddl-timeout", "60"};
    }
    std::map<std::string, std::string> Environment(const std::string& restarts = "") const {
        return {{"PATH", (folder_ / "bin").string() + ":/usr/bin:/bin"},
                {"HOME", folder_.Path().string()},
                {"SLURM_ARRAY_TASK_ID", "2"},
                {"SLURM_JOB_ID", "4711"},
                {"SLURM_RESTART_COUNT", restarts}};
    }
    /// What the script has asked Slurm for.
    std::string Asked() const {
        const fs::path file = folder_ / "scontrol";
        return fs::exists(file) ? ContentOf(file) : "";
    }

    TemporaryFolder folder_;
};

TEST_F(SlurmScript, RunsTheInstallationOfItsLine) {
    WriteProgram("twupdate", "echo \"$@\"");
    const Outcome outcome = RunProgram(Words(), Environment(), RunAs::kSelf, "/bin/bash");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "--defaults-group-suffix=-eu2 --grace 20 --events " +
                               (folder_ / "night" / "eu2.jsonl").string() +
                               " --ddl-timeout 60 upgrade\n");
    EXPECT_EQ(Asked(), "");
}

TEST_F(SlurmScript, AsksToRunAgainOnlyForWhatMaySucceedThen) {
    for (const int status : {1, 2, 3, 6}) {
        WriteProgram("twupdate", "exit " + std::to_string(status));
        EXPECT_EQ(RunProgram(Words(), Environment(), RunAs::kSelf, "/bin/bash").status, status);
        EXPECT_EQ(Asked(), "") << status;
    }
    for (const int status : {4, 5, 7, 137, 143}) {
        fs::remove(folder_ / "scontrol");
        WriteProgram("twupdate", "exit " + std::to_string(status));
        EXPECT_EQ(RunProgram(Words(), Environment("4"), RunAs::kSelf, "/bin/bash").status, status);
        EXPECT_EQ(Asked(), "requeue 4711\n") << status;
        fs::remove(folder_ / "scontrol");
        EXPECT_EQ(RunProgram(Words(), Environment("5"), RunAs::kSelf, "/bin/bash").status, status);
        EXPECT_EQ(Asked(), "") << "a sixth attempt after " << status;
    }
}

TEST_F(SlurmScript, TellsTheRunThatItIsToStop) {
    WriteProgram("twupdate",
                 "trap 'exit 5' TERM; touch \"$HOME/began\"; while :; do /bin/sleep 0.05; done");
    Program task(Words(), Environment(), RunAs::kSelf, "/bin/bash");
    ASSERT_TRUE(WaitUntil([&] { return fs::exists(folder_ / "began"); }));
    task.Signal(SIGTERM);
    EXPECT_EQ(task.Wait().status, 5);
    EXPECT_EQ(Asked(), "requeue 4711\n");
}

}  // namespace
}  // namespace twupdate::test
