#include "kestrelctl/completion/shell_scripts.h"

#include "tests/support/test_headers.h"

namespace kestrelvisor::ctl {
namespace {

using By = Completed::By;
using ::testing::HasSubstr;

CommandTree sampleTree() {
  return {{"scan",
           "Show the site's things",
           {{"o", "output", "The form", {By::words, {"json", "tree"}, {}}},
            {"", "save", "Keep it", {By::file, {}, {}}},
            {"", "name", "Its name", {By::names, {}, "machine"}},
            {"", "strict", "Be strict: really", {By::nothing, {}, {}}}},
           {{By::names, {}, "uri"}, {By::file, {}, {}}}}};
}

TEST(CompletionScript, OfBashKnowsOptionsAndTheirValues) {
  const std::string script = bashScript(sampleTree());

  EXPECT_THAT(script, HasSubstr("scan,-o|scan,--output) _kestrelctl_words 'json tree'"));
  EXPECT_THAT(script, HasSubstr("scan,--save) _kestrelctl_files"));
  EXPECT_THAT(script, HasSubstr("scan,--name) _kestrelctl_names machine"));
  EXPECT_THAT(script, HasSubstr("scan) options='-o --output --save --name --strict' ;;"));
  EXPECT_THAT(script, HasSubstr("scan,1) _kestrelctl_names uri ;;"));
  EXPECT_THAT(script, HasSubstr("scan,2) _kestrelctl_files ;;"));
  EXPECT_THAT(script, HasSubstr("scan) [[ ' -o --output --save --name ' == *\" $2 \"* ]] ;;"));
}

TEST(CompletionScript, OfZshQuotesItsDescriptions) {
  const std::string script = zshScript(sampleTree());

  EXPECT_THAT(script, HasSubstr("'scan:Show the site'\\''s things'"));
  EXPECT_THAT(script, HasSubstr("'--strict:Be strict: really'"));
}

TEST(CompletionScript, OfFishHasALineForEachOption) {
  const std::string script = fishScript(sampleTree());
  const std::string start = "complete -c kestrelctl -n '__kestrelctl_is scan'";

  EXPECT_THAT(script, HasSubstr("-a scan -d 'Show the site\\'s things'\n"));
  EXPECT_THAT(script, HasSubstr(start + " -s o -l output -x -a 'json tree' -d 'The form'\n"));
  EXPECT_THAT(script, HasSubstr(start + " -l save -r -F -d 'Keep it'\n"));
  EXPECT_THAT(script, HasSubstr(start + " -l strict -d 'Be strict: really'\n"));
  EXPECT_THAT(script, HasSubstr(start + " -l name -x -a '(__kestrelctl_names machine)' -d"));
  EXPECT_THAT(script, HasSubstr("'__kestrelctl_argument scan 2 -o --output --save --name' -F\n"));
}

}  // namespace
}  // namespace kestrelvisor::ctl
