// The scripts in the shells themselves, and what they ask kestrelctl for.

#include "tests/kestrelctl/fixture.h"

#include <sstream>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;
using ::testing::Not;
using vrmsim::test::Process;

namespace fs = std::filesystem;

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// A user whose last reply has a few machines.
class Completion : public ::testing::Test {
 protected:
  Completion() {
    fs::create_directories(folder.file("cache/kestrelctl"));
    folder.write("cache/kestrelctl/names",
                 "host\tcna-1\nmachine\tdb\nmachine\tmail server\nmachine\tweb-1\n"
                 "machine\tweb-2 $(touch here)\nuri\t/service/vms/i-1\nuri\t/service/vms/i-2\n");
    for (const char* made : {"bin", "home"}) fs::create_directories(folder.file(made));
    fs::create_symlink(KESTRELCTL_EXECUTABLE, folder.file("bin/kestrelctl"));
  }

  Finished run(const Arguments& words) const {
    return Finished(words, {"",
                            {{"XDG_CACHE_HOME", folder.file("cache")},
                             {"XDG_CONFIG_HOME", folder.file("settings")}}});
  }

  // What a shell says to a script of ours and a few lines behind it.
  std::string shellSays(const std::string& shell, const Arguments& options,
                        const std::string& lines) const {
    const std::string script =
        folder.write("script", run({"completion", shell}).output + "\n" + lines);
    Arguments words{"-i",
                    "PATH=" + folder.file("bin") + ":/usr/bin:/bin",
                    "LC_ALL=C.UTF-8",
                    "HOME=" + folder.file("home"),
                    "XDG_CACHE_HOME=" + folder.file("cache"),
                    "XDG_CONFIG_HOME=" + folder.file("settings"),
                    shell};
    words.insert(words.end(), options.begin(), options.end());
    words.push_back(script);
    Process process("/usr/bin/env", words);
    std::string said = process.restOfOutput();
    EXPECT_EQ(process.wait(), 0) << process.errors();
    EXPECT_EQ(process.errors(), "");
    return said;
  }

  // What bash offers for the last of some words.
  std::vector<std::string> bashOffers(const std::string& words) const {
    return linesOf(shellSays("bash", {"--norc"},
                             "COMP_WORDS=(" + words +
                                 ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n_kestrelctl\n"
                                 "printf '%s\\n' \"${COMPREPLY[@]}\"\n"));
  }

  TemporaryFolder folder;
};

TEST_F(Completion, NamesBeginWithWhatIsTyped) {
  EXPECT_THAT(linesOf(run({"completion", "names", "machine", "web"}).output),
              ElementsAre("web-1", "web-2 $(touch here)"));
  EXPECT_THAT(linesOf(run({"completion", "names", "host"}).output), ElementsAre("cna-1"));
  EXPECT_EQ(run({"completion", "names", "nothing"}).output, "");
}

TEST_F(Completion, NamesOfContextsAreKnownToo) {
  ASSERT_EQ(run({"contexts", "add", "prod", "--manager", "https://vrm"}).status, 0);
  ASSERT_EQ(run({"contexts", "add", "test", "--manager", "https://vrm"}).status, 0);

  EXPECT_EQ(run({"completion", "names", "context", "p"}).output, "prod\n");
}

TEST_F(Completion, ShellsThatAreNotKnownAreRefused) {
  EXPECT_EQ(run({"completion"}).status, 2);
  EXPECT_EQ(run({"completion", "names"}).status, 2);
  EXPECT_THAT(run({"completion", "bsh"}).talk, HasSubstr("did you mean bash?"));
}

TEST_F(Completion, OfBashOffersCommands) {
  EXPECT_THAT(bashOffers("kestrelctl ''"),
              IsSupersetOf({"scan", "verify", "doctor", "cert", "contexts", "--help"}));
  EXPECT_THAT(bashOffers("kestrelctl ver"), ElementsAre("verify", "version"));
  EXPECT_THAT(bashOffers("kestrelctl he"), ElementsAre("help"));
  EXPECT_THAT(bashOffers("kestrelctl help ver"), ElementsAre("verify", "version"));
}

TEST_F(Completion, OfBashOffersOptions) {
  EXPECT_THAT(bashOffers("kestrelctl scan --str"), ElementsAre("--strict", "--strict-tls"));
  EXPECT_THAT(bashOffers("kestrelctl scan --no"), ElementsAre("--no-strict-tls"));
  EXPECT_THAT(bashOffers("kestrelctl version --"), Not(::testing::Contains("--manager")));
}

TEST_F(Completion, OfBashOffersValues) {
  EXPECT_THAT(bashOffers("kestrelctl scan -o js"), ElementsAre("json", "jsonl"));
  EXPECT_THAT(bashOffers("kestrelctl find --kind da"), ElementsAre("datastore"));
  EXPECT_THAT(bashOffers("kestrelctl cert ''"), ElementsAre("forget", "pin", "show"));
  EXPECT_THAT(bashOffers("kestrelctl contexts ''"), ElementsAre("list", "show", "add", "remove"));
  EXPECT_THAT(bashOffers("kestrelctl completion z"), ElementsAre("zsh"));
}

TEST_F(Completion, OfBashOffersFiles) {
  folder.write("reply.pb", "");

  EXPECT_THAT(bashOffers("kestrelctl show " + folder.file("rep")),
              ElementsAre(folder.file("reply.pb")));
  EXPECT_THAT(bashOffers("kestrelctl scan --ca-cert " + folder.file("rep")),
              ElementsAre(folder.file("reply.pb")));
}

TEST_F(Completion, OfBashOffersObjects) {
  EXPECT_THAT(bashOffers("kestrelctl disable-cbt /serv"),
              ElementsAre("/service/vms/i-1", "/service/vms/i-2"));
  EXPECT_THAT(bashOffers("kestrelctl find --name mail"), ElementsAre("mail\\ server"));
}

TEST_F(Completion, OfBashCarriesOutNothingInAName) {
  EXPECT_THAT(bashOffers("kestrelctl find --name web-2"),
              ElementsAre("web-2\\ \\$\\(touch\\ here\\)"));
  EXPECT_FALSE(fs::exists("here"));
}

TEST_F(Completion, OfZshIsGoodForIt) { EXPECT_EQ(shellSays("zsh", {"-f", "-n"}, ""), ""); }

TEST_F(Completion, OfZshOffersObjects) {
  const std::string said = shellSays("zsh", {"-f"},
                                     "compadd() { local list=$@[-1]; print -rl -- ${(P)list} }\n"
                                     "words=(kestrelctl find --name web) CURRENT=4\n"
                                     "_kestrelctl\n");

  EXPECT_THAT(linesOf(said), ElementsAre("web-1", "web-2 $(touch here)"));
}

TEST_F(Completion, OfFishOffersCommandsOptionsAndObjects) {
  const std::string said = shellSays("fish", {"--no-config"},
                                     "complete -C 'kestrelctl verif'\n"
                                     "complete -C 'kestrelctl scan --tester'\n"
                                     "complete -C 'kestrelctl find --name web'\n");

  EXPECT_THAT(said, AllOf(HasSubstr("verify\t"), HasSubstr("--tester-dump\t"), HasSubstr("web-1"),
                          HasSubstr("web-2 ")));
  EXPECT_FALSE(fs::exists("here"));
}

TEST_F(Completion, FindsTheNamesAmongAHundredThousand) {
  std::string index;
  for (int i = 100'000; i < 200'000; ++i) index += "machine\tvm-" + std::to_string(i) + "\n";
  folder.write("cache/kestrelctl/names", index);

  EXPECT_THAT(linesOf(run({"completion", "names", "machine", "vm-15432"}).output),
              ElementsAre("vm-154320", "vm-154321", "vm-154322", "vm-154323", "vm-154324",
                          "vm-154325", "vm-154326", "vm-154327", "vm-154328", "vm-154329"));
  EXPECT_EQ(linesOf(run({"completion", "names", "machine"}).output).size(), 200U);
}

class CompletionOfAScan : public ManagerTest {};

TEST_F(CompletionOfAScan, KnowsTheNamesOfTheReplyThatWasKept) {
  const Setting setting{"", {{"XDG_CACHE_HOME", folder.file("cache")}}};
  ASSERT_EQ(Finished(command({"scan", "--save", folder.file("reply.pb")}), setting).status, 0);

  const Finished uris({"completion", "names", "uri"}, setting);

  EXPECT_THAT(linesOf(uris.output), ::testing::Contains(machineUri(manager.inventory(), 0)));
  EXPECT_EQ(fs::status(folder.file("cache/kestrelctl/names")).permissions(), fs::perms(0600));
}

TEST_F(CompletionOfAScan, IsNoReasonToFail) {
  const Setting setting{"", {{"XDG_CACHE_HOME", passwordFile}}};  // no folder

  EXPECT_EQ(Finished(command({"scan", "--save", folder.file("reply.pb")}), setting).status, 0);
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
