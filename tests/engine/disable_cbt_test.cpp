#include "tests/engine/engine_fixture.h"

namespace kestrelvisor::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* kMachine = "/service/sites/1/vms/5";
constexpr const char* kAction = "/service/sites/1/vms/5/action/CBTbackup";

class DisableCbt : public EngineTest {
 protected:
  EnvProxyResult disable(const EnvironmentPath& path) {
    return engine.DisableCBT(path, kMachine, description);
  }
};

struct CheckedList {
  const char* name;
  void (*clear)(EnvironmentPath&);
  void (*addOne)(EnvironmentPath&);
};

const CheckedList kLists[] = {
    {"hv_address", [](EnvironmentPath& p) { p.clear_hv_address(); },
     [](EnvironmentPath& p) { p.add_hv_address("127.0.0.9"); }},
    {"port", [](EnvironmentPath& p) { p.clear_port(); }, [](EnvironmentPath& p) { p.add_port(1); }},
    {"protocol", [](EnvironmentPath& p) { p.clear_protocol(); },
     [](EnvironmentPath& p) { p.add_protocol(1); }},
    {"username", [](EnvironmentPath& p) { p.clear_username(); },
     [](EnvironmentPath& p) { p.add_username("other"); }},
    {"password", [](EnvironmentPath& p) { p.clear_password(); },
     [](EnvironmentPath& p) { p.add_password("other"); }},
    {"cert", [](EnvironmentPath& p) { p.clear_cert(); },
     [](EnvironmentPath& p) { p.add_cert("other"); }},
};

class CheckedListTest : public DisableCbt, public ::testing::WithParamInterface<std::size_t> {
 protected:
  void expectRefused(const EnvironmentPath& path) {
    EXPECT_THAT(disable(path), IsBare(1));
    const std::string name = kLists[GetParam()].name;
    const std::string line = "Parameter of envPath." + name + " is not exist !";
    EXPECT_THAT(log.texts(4), ElementsAre(line));
    EXPECT_EQ(log.withText(line).at(0).tag, "KestrelVisorEngine");
    EXPECT_EQ(log.withText(line).at(0).function, "KestrelVisorEngine::DisableCBT()");
    EXPECT_EQ(description, "as it was");
    EXPECT_EQ(manager.connections(), 0U);
  }
};

TEST_P(CheckedListTest, IsRefusedWhenItIsEmpty) {
  EnvironmentPath path = manager.path();
  kLists[GetParam()].clear(path);

  expectRefused(path);
}

TEST_P(CheckedListTest, IsRefusedWhenItHoldsTwoElements) {
  EnvironmentPath path = manager.path();
  kLists[GetParam()].addOne(path);

  expectRefused(path);
}

TEST_P(CheckedListTest, IsNamedBeforeTheListsBehindIt) {
  EnvironmentPath path = manager.path();
  for (std::size_t i = GetParam(); i < std::size(kLists); ++i) kLists[i].clear(path);

  expectRefused(path);
}

INSTANTIATE_TEST_SUITE_P(DisableCbt, CheckedListTest,
                         ::testing::Range(std::size_t{0}, std::size(kLists)),
                         [](const auto& row) { return std::string(kLists[row.param].name); });

TEST_F(DisableCbt, DeletesTheMachinesBackupAction) {
  manager.serves("DELETE", kAction, ok("{}"));

  const EnvProxyResult result = disable(manager.path());

  EXPECT_THAT(result, IsBare(0));
  EXPECT_THAT(description, IsEmpty());
  EXPECT_THAT(manager.lines(),
              ElementsAre("GET /service/versions", "POST /service/session", "GET /service/sites",
                          "POST /service/session", std::string("DELETE ") + kAction));
  EXPECT_THAT(manager.journal().back().body, IsEmpty());
}

TEST_F(DisableCbt, TakesAnyBodyOfAnAcceptedAnswer) {
  for (const char* body : {"", "<html>", R"({"errorCode":"10300428"})"}) {
    manager.serves("DELETE", kAction, ok(body));

    EXPECT_THAT(disable(manager.path()), IsBare(0)) << body;
    EXPECT_THAT(description, IsEmpty()) << body;
  }
}

TEST_F(DisableCbt, UsesHttpsUnlessTheProtocolIsOne) {
  for (const int protocol : {0, 2}) {
    log.clear();
    EnvironmentPath path = manager.path();
    path.set_protocol(0, protocol);
    path.set_port(0, unusedPort(manager.address()));

    EXPECT_THAT(disable(path), IsBare(1));

    EXPECT_TRUE(
        log.has(0, "URL=https://127.0.0.1:" + std::to_string(path.port(0)) + "/service/versions"));
  }
}

TEST_F(DisableCbt, LosesTheManagersCodeWhenThePreparationFails) {
  manager.serves("GET", kSites, refusal(500, "10300428", "words"));

  const EnvProxyResult result = disable(manager.path());

  EXPECT_THAT(result, IsBare(1));
  EXPECT_EQ(description, "as it was");
  const auto records = log.withText("Get VRM Info error!");
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0].level, 4);
  EXPECT_EQ(records[0].tag, "KESTRELVISOR_API");
  EXPECT_EQ(records[0].function, "KestrelVisorEngine::DisableCBT()");
}

TEST_F(DisableCbt, GoesOnAfterAPreparationWhoseCodeStandsForSuccess) {
  manager.serves("GET", kVersions, refusal(500, "10100110"));
  manager.serves("DELETE", kAction, ok("{}"));

  EXPECT_THAT(disable(manager.path()), IsBare(0));

  EXPECT_THAT(manager.lines(), ElementsAre("GET /service/versions", "POST /service/session",
                                           std::string("DELETE ") + kAction));
}

struct Refusal {
  const char* name;
  const char* code;
  int status;
  const char* text;
};

class CbtRefusalTest : public DisableCbt, public ::testing::WithParamInterface<Refusal> {};

TEST_P(CbtRefusalTest, BecomesStatusAndText) {
  const Refusal& refused = GetParam();
  manager.serves("DELETE", kAction, refusal(500, refused.code, "the manager's words"));

  const EnvProxyResult result = disable(manager.path());

  EXPECT_THAT(result, IsBare(refused.status));
  EXPECT_EQ(description, refused.text);
  const std::string line = std::string("Failed to disable the CBT for VM with uri: ") + kMachine +
                           ", and with error code: " + refused.code;
  ASSERT_TRUE(log.has(4, line));
  EXPECT_EQ(log.withText(line)[0].tag, "KESTRELVISOR_API");
  EXPECT_THAT(log.texts(), Not(Contains(::testing::StartsWith("Failed to convert the string"))));
}

INSTANTIATE_TEST_SUITE_P(
    DisableCbt, CbtRefusalTest,
    ::testing::Values(
        Refusal{"Database", "10000004", 96, "KestrelVisor database operation failure"},
        Refusal{"Missing", "10000008", 95, "KestrelVisor object does not exist"},
        Refusal{"WithAPlus", "+10000008", 95, "KestrelVisor object does not exist"},
        Refusal{"WithZeros", "0010000008", 95, "KestrelVisor object does not exist"},
        Refusal{"Template", "10300427", 100,
                "Virtual Machine template does not support disabling CBT"},
        Refusal{"LinkedClone", "10300428", 101,
                "this type of Virtual Machine (link-cloned) does not support disabling CBT"},
        Refusal{"Datastore", "10430044", 98,
                "this type of datastore does not support disabling CBT"},
        Refusal{"Failed", "10430045", 99, "KestrelVisor failed to disable CBT"},
        Refusal{"Internal", "11000000", 97, "KestrelVisor internal error"},
        Refusal{"WithAMinus", "-10000008", 97, "unknown error"},
        Refusal{"AnyOther", "10300429", 97, "unknown error"}),
    [](const auto& row) { return std::string(row.param.name); });

class CbtCodeThatIsNoNumberTest : public DisableCbt,
                                  public ::testing::WithParamInterface<const char*> {};

TEST_P(CbtCodeThatIsNoNumberTest, IsAnUnknownError) {
  manager.serves("DELETE", kAction, refusal(500, GetParam()));

  const EnvProxyResult result = disable(manager.path());

  EXPECT_THAT(result, IsBare(97));
  EXPECT_EQ(description, "unknown error");
  const auto records = log.withText(std::string("Failed to convert the string: ") + GetParam() +
                                    " to an integer number");
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0].level, 4);
  EXPECT_EQ(records[0].tag, "KESTRELVISOR_API");
}

INSTANTIATE_TEST_SUITE_P(DisableCbt, CbtCodeThatIsNoNumberTest,
                         ::testing::Values("connectfailed", "10000008 ", " 10000008", "+", "-",
                                           "+-10000008", "0x989688", "10000008.0",
                                           "9223372036854775808"));

TEST_F(DisableCbt, WithoutACodeIsAnUnknownErrorWithoutAConversionLine) {
  manager.serves("DELETE", kAction, status(500, "<html>"));

  EXPECT_THAT(disable(manager.path()), IsBare(97));

  EXPECT_EQ(description, "unknown error");
  EXPECT_THAT(log.texts(), Not(Contains(::testing::StartsWith("Failed to convert the string"))));
}

TEST_F(DisableCbt, TellsOfAManagerThatIsGone) {
  manager.serves("DELETE", kAction, hangUp());

  EXPECT_THAT(disable(manager.path()), IsBare(97));

  EXPECT_EQ(description, "unknown error");
}

}  // namespace
}  // namespace kestrelvisor::test
