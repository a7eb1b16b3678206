#include "rest/kestrelvisor_rest_api.h"
#include "tests/support/fake_manager.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"

#include <json/json.h>

namespace {

using kestrelvisor::test::FakeManager;
using kestrelvisor::test::LogCapture;
using kestrelvisor::test::ok;
using kestrelvisor::test::refusal;
using ::testing::ElementsAre;

TEST(AuthenticatedRequest, LogsInOnceMoreWhenTheManagerHasEndedTheSession) {
  const LogCapture log;
  FakeManager manager;
  manager.serves("GET", "/service/sites", ok(R"({"sites":[]})"));
  manager.answers("GET", "/service/sites", 2, refusal(401, "10000002"));
  VRM_INFO vrm = manager.connection();
  KestrelVisorErrorMessage error;
  KestrelVisor_rest_api api;
  Json::Value root;
  ASSERT_TRUE(api.getJSonObjFromKestrelVisor(vrm, "/service/sites", "sites", error, root));

  EXPECT_TRUE(api.getJSonObjFromKestrelVisor(vrm, "/service/sites", "sites", error, root));

  EXPECT_THAT(manager.lines(),
              ElementsAre("POST /service/session", "GET /service/sites", "GET /service/sites",
                          "POST /service/session", "GET /service/sites"));
}

}  // namespace
