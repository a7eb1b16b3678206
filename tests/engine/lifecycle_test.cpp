#include "platform/contract/request_id.h"
#include "tests/engine/engine_fixture.h"

namespace kestrelvisor::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* kInitLine =
    "Environment Proxy: KestrelVisor Proxy Engine init function was called";

// The id of the request that this thread serves, put back at the end.
class RequestId {
 public:
  explicit RequestId(std::uint64_t id) : before_(*KCPTSP::get(TSP_RequestID)) {
    *KCPTSP::get(TSP_RequestID) = id;
  }
  ~RequestId() { *KCPTSP::get(TSP_RequestID) = before_; }
  RequestId(const RequestId&) = delete;
  RequestId& operator=(const RequestId&) = delete;

 private:
  std::uint64_t before_;
};

TEST(EngineInit, LogsItsLineWithoutARequest) {
  const RequestId request(42);
  const LogCapture log;

  EXPECT_TRUE(kestrelvisor_engine_init());

  ASSERT_THAT(log.records(), SizeIs(1));
  const LogRecord& record = log.records().front();
  EXPECT_EQ(record.text, kInitLine);
  EXPECT_EQ(record.level, 1);
  EXPECT_EQ(record.tag, "KestrelVisorEngine");
  EXPECT_EQ(record.requestId, 0U);
  EXPECT_EQ(record.function, "kestrelvisor_engine_init()");
  EXPECT_EQ(record.code, 0);
}

TEST(EngineInit, SecondCallLogsAgainAndMakesNothingNew) {
  const LogCapture log;
  ASSERT_TRUE(kestrelvisor_engine_init());
  const KestrelVisorEngine* const first = &KestrelVisorEngine::getKestrelVisorInstance();
  const KestrelVisorPublic* const firstPublic = &KestrelVisorPublic::getInstance();

  EXPECT_TRUE(kestrelvisor_engine_init());

  EXPECT_THAT(log.texts(1), ElementsAre(kInitLine, kInitLine));
  EXPECT_EQ(&KestrelVisorEngine::getKestrelVisorInstance(), first);
  EXPECT_EQ(&KestrelVisorPublic::getInstance(), firstPublic);
}

TEST(EngineInit, OfAnEngineThatTheHostMadeIsTrue) {
  KestrelVisorEngine engine;

  EXPECT_TRUE(engine.Init());
}

TEST(PublicObject, StartsWithTheCodesThatHostsKeepAtHand) {
  KestrelVisorPublic object;

  EXPECT_THAT(object.residentCodes, ElementsAre("10000005", "10000006", "10000009", "10300112",
                                                "10300318", "10300153", "10300502", "10300162"));
  EXPECT_EQ(object.reserved, 0U);
  EXPECT_THAT(object.hostGuidByUrn, IsEmpty());
  EXPECT_THAT(object.restApi.tokenMap, IsEmpty());
  EXPECT_EQ(object.getHttpClientPort(), 7070);
}

using EngineLifecycle = EngineTest;

TEST_F(EngineLifecycle, OperationsWorkWithoutInit) {
  std::string guid;

  const EnvProxyResult result = engine.VerifyCredentials(manager.path(), description, guid);

  EXPECT_THAT(result, IsBare(0));
}

TEST_F(EngineLifecycle, BothClientsHaveSessionsOfTheirOwn) {
  std::string guid;

  engine.VerifyCredentials(manager.path(), description, guid);

  const auto& own = engine.restApi.tokenMap;
  const auto& shared = KestrelVisorPublic::getInstance().restApi.tokenMap;
  ASSERT_THAT(own, SizeIs(1));
  ASSERT_THAT(shared, SizeIs(1));
  EXPECT_EQ(own.begin()->second.certToken.authToken, "fake-session-token-1");
  EXPECT_EQ(shared.begin()->second.certToken.authToken, "fake-session-token-2");
}

TEST_F(EngineLifecycle, NextOperationUsesBothSessionsAgain) {
  std::string guid;
  engine.VerifyCredentials(manager.path(), description, guid);

  engine.VerifyCredentials(manager.path(), description, guid);

  EXPECT_THAT(manager.lines(),
              ElementsAre("GET /service/versions", "POST /service/session", "GET /service/sites",
                          "POST /service/session", "GET /service/sites", "GET /service/versions",
                          "GET /service/sites", "GET /service/sites"));
}

TEST_F(EngineLifecycle, CopyStartsWithoutSessions) {
  std::string guid;
  engine.VerifyCredentials(manager.path(), description, guid);
  engine.restApi.protocolLanguage = "de_DE";

  const KestrelVisorEngine copy(engine);

  EXPECT_THAT(copy.restApi.tokenMap, IsEmpty());
  EXPECT_EQ(copy.restApi.protocolVersion, "1.2");
  EXPECT_EQ(copy.restApi.protocolCharset, "UTF-8");
  EXPECT_EQ(copy.restApi.protocolLanguage, "en_US");
  EXPECT_THAT(engine.restApi.tokenMap, SizeIs(1));
}

TEST_F(EngineLifecycle, EndOfAnEngineEndsItsSession) {
  {
    KestrelVisorEngine shortLived;
    VRM_INFO vrm = manager.connection();
    KestrelVisorErrorMessage error;
    ASSERT_EQ(shortLived.HandleGetVRMInfo(vrm, error), 0);
  }

  const Request last = manager.journal().back();
  EXPECT_EQ(last.line(), "DELETE /service/session");
  EXPECT_EQ(last.header("X-Auth-Token"), "fake-session-token-1");
}

TEST_F(EngineLifecycle, DeleteV3MapSucceedsWithoutTheNetwork) {
  const EnvProxyResult result = engine.DeleteV3Map(manager.path(), V3MapInfo{"map"});

  EXPECT_THAT(result, IsBare(0));
  EXPECT_EQ(manager.connections(), 0U);
}

TEST_F(EngineLifecycle, RecordsOfAnOperationCarryTheThreadsRequest) {
  const RequestId request(4711);
  std::string guid;

  engine.VerifyCredentials(manager.path(), description, guid);

  ASSERT_FALSE(log.records().empty());
  for (const LogRecord& record : log.records()) EXPECT_EQ(record.requestId, 4711U) << record.text;
}

TEST_F(EngineLifecycle, NegotiatedVersionReachesTheOtherClientThroughTheRecord) {
  std::string guid;

  engine.VerifyCredentials(manager.path(), description, guid);

  const Request last = manager.journal().back();
  EXPECT_EQ(last.header("Accept"), "application/json;version=6.5; charset=UTF-8");
  EXPECT_EQ(KestrelVisorPublic::getInstance().restApi.protocolVersion, "6.5");
}

}  // namespace
}  // namespace kestrelvisor::test
