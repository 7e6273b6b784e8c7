// A server that is reached over the network, encrypted.
#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>

#include "cli/installation_fixture.h"
#include "support/free_port.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

/// The server answers on a port too, with a certificate for the name 127.0.0.1. The account
/// `remote` may sign in encrypted alone.
class Tls : public InstallationTest {
  protected:
    Tls() : port_(FreePort()) {
        MakeAuthority("ca");
        MakeAuthority("stranger");
        MakeCertificate("server", "127.0.0.1");
        MakeCertificate("elsewhere", "db.example.org");
        Serve("server");
        Execute("CREATE OR REPLACE USER 'remote'@'127.0.0.1' REQUIRE SSL;");
        Execute("GRANT ALL ON *.* TO 'remote'@'127.0.0.1';");
    }
    ~Tls() override { CliServer::Get().RestartWith({}); }

    void Serve(const std::string& certificate, const std::vector<std::string>& more = {}) const {
        std::vector<std::string> options{
            "--skip-networking=0", "--bind-address=127.0.0.1", "--port=" + std::to_string(port_),
            "--ssl-cert=" + (folder_ / (certificate + ".pem")).string(),
            "--ssl-key=" + (folder_ / (certificate + ".key")).string()};
        options.insert(options.end(), more.begin(), more.end());
        CliServer::Get().RestartWith(options);
    }

    Outcome RunRemote(const std::vector<std::string>& arguments) const {
        std::vector<std::string> words{
            "--host", "127.0.0.1", "--port",          std::to_string(port_),
            "--user", "remote",    "--no-site-files", "--no-services"};
        words.insert(words.end(), arguments.begin(), arguments.end());
        return RunProgram(words);
    }

    static void ExpectOneLine(const Outcome& outcome, const std::string& part) {
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.err, AllOf(StartsWith("twupdate: cannot connect to the server: "),
                                       HasSubstr(part), EndsWith("\n")));
        EXPECT_EQ(outcome.err.find('\n'), outcome.err.size() - 1);
    }

    std::string File(const std::string& name) const { return (folder_ / name).string(); }

  private:
    void OpenSsl(const std::string& arguments) const {
        const std::string command =
            "cd " + folder_.Path().string() + " && openssl " + arguments + " >openssl.log 2>&1";
        ASSERT_EQ(std::system(command.c_str()), 0) << ContentOf(folder_ / "openssl.log");
    }
    static std::string NewKey(const std::string& name) {
        return "-newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -keyout " + name + ".key";
    }
    void MakeAuthority(const std::string& name) const {
        OpenSsl("req -x509 " + NewKey(name) + " -days 2 -subj /CN=" + name + " -out " + name +
                ".pem");
    }
    void MakeCertificate(const std::string& name, const std::string& host) const {
        OpenSsl("req " + NewKey(name) + " -subj /CN=" + host + " -out " + name + ".csr");
        OpenSsl("x509 -req -in " + name + ".csr -CA ca.pem -CAkey ca.key -CAcreateserial -days 2 " +
                "-out " + name + ".pem");
    }

    int port_;
};

TEST_F(Tls, AWholeUpgradeWithItsBackupGoesOverIt) {
    MakeCentralDatabase();
    MakeSite(8);
    ExpectOneLine(RunRemote({"status"}), "(1045)");
    const std::vector<std::string> verified{"--ssl-ca", File("ca.pem"), "--ssl-verify-server-cert"};
    const auto run = [&](std::vector<std::string> command) {
        command.insert(command.begin(), verified.begin(), verified.end());
        return RunRemote(command);
    };
    // The server's disk is not this machine's, for all that the program can know.
    const Outcome checked = run({"check"});
    EXPECT_EQ(checked.status, 0) << checked.err;
    EXPECT_THAT(checked.out, HasSubstr("note: the free space of the server's data folder "));
    const Outcome upgraded = run({"--backup", File("backup"), "upgrade"});
    EXPECT_EQ(upgraded.status, 0) << upgraded.err;
    EXPECT_EQ(InstallationVersion(), kCurrentStored);
    const auto folder = std::filesystem::directory_iterator(File("backup"))->path();
    EXPECT_EQ(run({"restore", folder.string(), "--apply"}).status, 0);
    EXPECT_EQ(InstallationVersion(), "1");
    const Outcome rehearsed = run({"rehearse", "--workdir", File("r")});
    EXPECT_EQ(rehearsed.status, 0) << rehearsed.err;
}

TEST_F(Tls, TheServersPluginShowsItsFreeSpaceToAnAccountWithThePrivilege) {
    const std::string plugins = PluginFolder();
    if (plugins.empty()) {
        GTEST_SKIP() << "no plugin disks; ./dev test unpacks it";
    }
    MakeCentralDatabase();
    MakeSite(8);
    Serve("server",
          {"--plugin-dir=" + plugins, "--plugin-maturity=unknown", "--plugin-load-add=disks"});
    const Outcome seen = RunRemote({"--ssl-ca", File("ca.pem"), "check"});
    EXPECT_EQ(seen.out, "Nothing found that would make an upgrade fail.\n") << seen.err;
    Execute("REVOKE FILE ON *.* FROM 'remote'@'127.0.0.1';");
    EXPECT_THAT(RunRemote({"--ssl-ca", File("ca.pem"), "check"}).out,
                HasSubstr("note: the free space of "));
}

TEST_F(Tls, AServerOfAnotherAuthorityIsRefusedInOneLine) {
    ExpectOneLine(RunRemote({"--ssl-ca", File("stranger.pem"), "status"}), "(2026)");
}

TEST_F(Tls, AServerOfAnotherNameIsRefusedOnlyWhenItMustProveIt) {
    MakeCentralDatabase();
    Serve("elsewhere");
    EXPECT_EQ(RunRemote({"--ssl-ca", File("ca.pem"), "status"}).status, 0);
    ExpectOneLine(RunRemote({"--ssl-ca", File("ca.pem"), "--ssl-verify-server-cert", "status"}),
                  "(2026)");
}

TEST_F(Tls, AMissingFileOfAuthoritiesIsNamed) {
    ExpectOneLine(RunRemote({"--ssl-ca", File("missing.pem"), "status"}),
                  File("missing.pem") + " cannot be read");
}

}  // namespace
}  // namespace twupdate::test
