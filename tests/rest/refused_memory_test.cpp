#include "inventory/inventory_records.h"
#include "rest/curl_owners.h"
#include "rest/json_utils.h"
#include "rest/kestrelvisor_rest_api.h"
#include "tests/support/test_headers.h"
#include "tests/torture/faults/allocator.h"

#include <list>

namespace kestrelvisor::test {
namespace {

using torture::Allocator;
using torture::FaultPlan;

// Runs an action once for each of its allocations, which is refused, and once without a refusal.
// Calls check after each run with whether such an exception left the action.
template <class Exception, class Action, class Check>
void refusingEach(Action action, Check check) {
  for (std::uint64_t nth = 1;; ++nth) {
    bool threw = false;
    std::uint64_t refused = 0;
    Allocator::arm(FaultPlan{nth, false});
    try {
      action();
      refused = Allocator::disarm().failed;
    } catch (const Exception&) {
      refused = Allocator::disarm().failed;
      threw = true;
    }
    check(threw);
    if (::testing::Test::HasFailure()) FAIL() << "at allocation " << nth;
    if (refused == 0) return;
  }
}

TEST(RefusedMemory, IsNoReasonToTakeAJsonTextForUnreadable) {
  const std::string text = R"({"a key of some length":["and a text of some length",{"b":1}]})";
  Json::Value root;
  bool readable = false;

  refusingEach<std::bad_alloc>(
      [&] {
        root = Json::Value();
        readable = CJsonUtils::StringToJson(text, root);
      },
      [&](bool threw) { EXPECT_TRUE(threw || readable); });
}

TEST(RefusedMemory, CutsNoJsonTextShort) {
  Json::Value value;
  value["a key of some length"].append("and a text of some length");
  const Json::StreamWriterBuilder builder;
  const std::string whole = Json::writeString(builder, value);
  std::string written;

  refusingEach<std::bad_alloc>(
      [&] { written = writeJson(builder, value); },
      [&](bool threw) { EXPECT_TRUE(threw || written == whole) << written; });
}

TEST(RefusedMemory, LosesNoDatastore) {
  const std::string answer =
      R"({"total":1,"datastores":[{"urn":"urn:sites:S1:datastores:1","uri":"/u","name":"store",)"
      R"("storageType":"NAS","hosts":["urn:sites:S1:hosts:1"],"actualCapacityGB":1,)"
      R"("actualFreeSizeGB":1}]})";
  KestrelVisor_rest_api api;
  std::list<boost::shared_ptr<ST_DATASTORE_INFO>> datastores;
  bool listed = false;

  refusingEach<std::exception>([&] { listed = api.toDataStores(answer, datastores); },
                               [&](bool threw) {
                                 if (threw || !listed) return;
                                 ASSERT_EQ(datastores.size(), 1U);
                                 EXPECT_EQ(datastores.front()->storageType,
                                           EN_DATASTORAGE_TYPE_VIRTUAL);
                               });
}

TEST(RefusedMemory, SendsNoRequestWithAnotherVerb) {
  KestrelVisor_rest_api api;
  const CurlHandle handle(api.initCurl());

  Allocator::arm(FaultPlan{1, false});
  bool threw = false;
  try {
    api.setCurlSendMethod(SEND_METHOD_DELETE, handle.get(), "");
  } catch (const std::bad_alloc&) {
    threw = true;
  }
  const std::uint64_t refused = Allocator::disarm().failed;

  EXPECT_EQ(refused, 1U);
  EXPECT_TRUE(threw);
}

}  // namespace
}  // namespace kestrelvisor::test
