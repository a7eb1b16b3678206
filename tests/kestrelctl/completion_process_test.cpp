// The scripts in the shells themselves, and what they ask kestrelctl for.

#include "tests/kestrelctl/fixture.h"

#include <algorithm>
#include <sstream>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;
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
                 "host\tcna-1\nmachine\tdb\nmachine\tdon't \"$x\"!\nmachine\tmail server\n"
                 "machine\tpod:1 [a]*\nmachine\tweb-1\n"
                 "machine\tweb-2 $(touch here)\nuri\t/service/vms/i-1\nuri\t/service/vms/i-2\n");
    for (const char* made : {"bin", "home"}) fs::create_directories(folder.file(made));
    fs::create_symlink(KESTRELCTL_EXECUTABLE, folder.file("bin/kestrelctl"));
  }

  Finished run(const Arguments& words) const {
    return Finished(words, {"",
                            {{"XDG_CACHE_HOME", folder.file("cache")},
                             {"XDG_CONFIG_HOME", folder.file("settings")}}});
  }

  // A script of ours and a few lines behind it.
  std::string script(const std::string& shell, const std::string& lines) const {
    return folder.write("script", run({"completion", shell}).output + "\n" + lines);
  }

  // What a program says in the environment of the user.
  std::string said(const Arguments& command) const {
    Arguments words{"-i",
                    "PATH=" + folder.file("bin") + ":/usr/bin:/bin",
                    "LC_ALL=C.UTF-8",
                    "TERM=dumb",
                    "HOME=" + folder.file("home"),
                    "XDG_CACHE_HOME=" + folder.file("cache"),
                    "XDG_CONFIG_HOME=" + folder.file("settings")};
    words.insert(words.end(), command.begin(), command.end());
    Process process("/usr/bin/env", words);
    std::string text = process.restOfOutput();
    EXPECT_EQ(process.wait(), 0) << process.errors();
    EXPECT_EQ(process.errors(), "");
    return text;
  }

  std::string shellSays(const std::string& shell, const Arguments& options,
                        const std::string& lines) const {
    Arguments command{shell};
    command.insert(command.end(), options.begin(), options.end());
    command.push_back(script(shell, lines));
    return said(command);
  }

  // What bash offers for the last of some words.
  std::vector<std::string> bashOffers(const std::string& words) const {
    return linesOf(shellSays("bash", {"--norc"},
                             "COMP_WORDS=(" + words +
                                 ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n"
                                 "COMP_LINE=${COMP_WORDS[*]}\n"
                                 "_kestrelctl kestrelctl \"${COMP_WORDS[-1]}\"\n"
                                 "printf '%s\\n' \"${COMPREPLY[@]}\"\n"));
  }

  // What zsh offers for a word behind others; files and descriptions stand for themselves.
  std::vector<std::string> zshOffers(const std::string& words, const std::string& word) const {
    return linesOf(shellSays("zsh", {"-f"},
                             "compadd() {\n"
                             "  if [[ $1 == -a ]]; then print -rl -- ${(P)@[-1]}\n"
                             "  else shift; print -rl -- \"$@\"; fi\n"
                             "}\n"
                             "compset() { PREFIX=${PREFIX#$2} }\n"
                             "_files() { print files }\n"
                             "_describe() { print -rl -- ${(P)2} }\n"
                             "words=(" +
                                 words + " x) PREFIX='" + word + "' CURRENT=$#words\n" +
                                 "_kestrelctl\n"));
  }

  // What stands on the line of a shell behind a text and a tab.
  std::string lineBehindTab(const std::string& shell, const Arguments& options,
                            const std::string& lines, const std::string& text) const {
    Arguments command{std::string(PROJECT_SOURCES) + "/tests/kestrelctl/completion/type_in_shell",
                      script(shell, lines + "printf '<<%s>>\\n' ready\n"), text, shell};
    command.insert(command.end(), options.begin(), options.end());
    std::string line = said(command);
    line.erase(line.find_last_not_of('\n') + 1);
    return line;
  }

  std::string bashLine(const std::string& text) const {
    return lineBehindTab("bash", {"--norc", "-i"},
                         "bind -x '\"\\C-t\": printf \"<<%s>>\\n\" \"$READLINE_LINE\"'\n", text);
  }

  std::string zshLine(const std::string& text) const {
    return lineBehindTab("zsh", {"-f", "-i"},
                         "autoload -Uz compinit\n"
                         "compinit -u -D\n"
                         "compdef _kestrelctl kestrelctl\n"
                         "show-line() { printf '<<%s>>\\n' \"$BUFFER\" }\n"
                         "zle -N show-line\n"
                         "bindkey '^T' show-line\n",
                         text);
  }

  // What fish offers, without descriptions.
  std::vector<std::string> fishOffers(const std::string& text) const {
    std::vector<std::string> offers =
        linesOf(shellSays("fish", {"--no-config"}, "complete -C '" + text + "'\n"));
    for (std::string& offer : offers) offer.erase(std::min(offer.find('\t'), offer.size()));
    return offers;
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
  EXPECT_THAT(bashOffers("kestrelctl version --"), Not(Contains("--manager")));
}

TEST_F(Completion, OfBashOffersValues) {
  EXPECT_THAT(bashOffers("kestrelctl scan -o js"), ElementsAre("json", "jsonl"));
  EXPECT_THAT(bashOffers("kestrelctl find --kind da"), ElementsAre("datastore"));
  EXPECT_THAT(bashOffers("kestrelctl cert ''"), ElementsAre("forget", "pin", "show"));
  EXPECT_THAT(bashOffers("kestrelctl contexts ''"), ElementsAre("list", "show", "add", "remove"));
  EXPECT_THAT(bashOffers("kestrelctl completion z"), ElementsAre("zsh"));
}

TEST_F(Completion, OffersArgumentsByTheirPlaces) {
  ASSERT_EQ(run({"contexts", "add", "prod", "--manager", "https://vrm"}).status, 0);
  folder.write("reply.pb", "");

  EXPECT_THAT(bashOffers("kestrelctl contexts -o json show ''"), ElementsAre("prod"));
  EXPECT_THAT(bashOffers("kestrelctl contexts show prod ''"), ElementsAre(""));
  EXPECT_THAT(zshOffers("kestrelctl contexts --output=json show", ""), ElementsAre("prod"));
  EXPECT_THAT(zshOffers("kestrelctl contexts -o", ""),
              UnorderedElementsAre("table", "json", "jsonl", "yaml"));
  EXPECT_THAT(fishOffers("kestrelctl contexts -o json show "), ElementsAre("prod"));
  EXPECT_THAT(fishOffers("kestrelctl contexts "),
              UnorderedElementsAre("list", "show", "add", "remove"));
}

TEST_F(Completion, OfBashKnowsWhatBashTakesApart) {
  EXPECT_EQ(bashLine("kestrelctl scan --output=jsonl"), "kestrelctl scan --output=jsonl ");
  EXPECT_EQ(bashLine("kestrelctl scan --output=tr"), "kestrelctl scan --output=tree ");
  EXPECT_EQ(bashLine("kestrelctl find --name=mai"), "kestrelctl find --name=mail\\ server ");
  EXPECT_EQ(bashLine("kestrelctl find --name pod:"),
            "kestrelctl find --name pod:1\\ \\\\\\[a\\]\\\\\\* ");
}

TEST_F(Completion, OfBashGoesOnInQuotes) {
  EXPECT_EQ(bashLine("kestrelctl find --name \"mail"), "kestrelctl find --name \"mail server\" ");
  EXPECT_EQ(bashLine("kestrelctl find --name=\"mail s"), "kestrelctl find --name=\"mail server\" ");
  EXPECT_EQ(bashLine("kestrelctl find --name 'do"), "kestrelctl find --name 'don'\\''t \"$x\"!' ");
  EXPECT_EQ(bashLine("kestrelctl find --name \"do"),
            "kestrelctl find --name \"don't \\\"\\$x\\\"\"\\!\"\" ");
}

TEST_F(Completion, OfBashOffersFilesBehindAnEqualsSign) {
  folder.write("my reply.pb", "");

  EXPECT_EQ(bashLine("kestrelctl find --reply=" + folder.file("my")),
            "kestrelctl find --reply=" + folder.file("my\\ reply.pb "));
  EXPECT_EQ(bashLine("kestrelctl show \"" + folder.file("my")),
            "kestrelctl show \"" + folder.file("my reply.pb\" "));
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
  EXPECT_THAT(zshOffers("kestrelctl find --name", "web"),
              ElementsAre("web-1", "web-2 $(touch here)"));
  EXPECT_THAT(zshOffers("kestrelctl find", "--name=web"),
              ElementsAre("web-1", "web-2 $(touch here)"));
}

TEST_F(Completion, OfZshOffersCommandsOptionsValuesAndFiles) {
  EXPECT_THAT(zshOffers("kestrelctl", ""),
              Contains("verify:Tell whether manager and account work; print its GUID"));
  EXPECT_THAT(zshOffers("kestrelctl scan", "-"), Contains(StartsWith("--tester-dump:")));
  EXPECT_THAT(zshOffers("kestrelctl scan -o", ""), IsSupersetOf({"json", "tree"}));
  EXPECT_THAT(zshOffers("kestrelctl scan", "--output="), IsSupersetOf({"json", "tree"}));
  EXPECT_THAT(zshOffers("kestrelctl show", ""), ElementsAre("files"));
  EXPECT_THAT(zshOffers("kestrelctl find --reply", ""), ElementsAre("files"));
}

TEST_F(Completion, OfZshFillsInTheLine) {
  EXPECT_EQ(zshLine("kestrelctl scan --output=tr"), "kestrelctl scan --output=tree ");
  EXPECT_EQ(zshLine("kestrelctl find --name \"mail"), "kestrelctl find --name \"mail server\" ");
  EXPECT_EQ(zshLine("kestrelctl find --name=pod:"),
            "kestrelctl find --name=pod:1\\ \\\\\\[a\\]\\\\\\* ");
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

TEST_F(Completion, OfFishKeepsCommandsApart) {
  EXPECT_THAT(fishOffers("kestrelctl cert show -o "),
              UnorderedElementsAre("text", "json", "jsonl", "yaml"));
  EXPECT_THAT(fishOffers("kestrelctl find --name version --"), Contains("--larger"));
  EXPECT_THAT(fishOffers("kestrelctl find --name version --out"), ElementsAre("--output"));
  EXPECT_THAT(fishOffers("kestrelctl "), AllOf(Contains("scan"), Not(Contains("show "))));
}

TEST_F(Completion, OfFishOffersNamesInQuotesAndBehindBlanks) {
  EXPECT_THAT(fishOffers("kestrelctl find --name mail\\\\ se"), ElementsAre("mail server"));
  EXPECT_THAT(fishOffers("kestrelctl find --name \"mail se"), ElementsAre("mail server"));
  EXPECT_THAT(fishOffers("kestrelctl find --name=web-1"), ElementsAre("--name=web-1"));
}

TEST_F(Completion, NamesArePatternsThatMatchThemselvesAlone) {
  EXPECT_EQ(run({"completion", "names", "machine", "pod"}).output, "pod:1 \\[a]\\*\n");
  EXPECT_EQ(run({"completion", "names", "machine", "pod:1 \\[a"}).output, "pod:1 \\[a]\\*\n");
  EXPECT_EQ(run({"completion", "names", "uri", "/serv"}).output,
            "/service/vms/i-1\n/service/vms/i-2\n");
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

  EXPECT_THAT(linesOf(uris.output), Contains(machineUri(manager.inventory(), 0)));
  EXPECT_EQ(fs::status(folder.file("cache/kestrelctl/names")).permissions(), fs::perms(0600));
}

TEST_F(CompletionOfAScan, IsNoReasonToFail) {
  const Setting setting{"", {{"XDG_CACHE_HOME", passwordFile}}};  // no folder

  EXPECT_EQ(Finished(command({"scan", "--save", folder.file("reply.pb")}), setting).status, 0);
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
