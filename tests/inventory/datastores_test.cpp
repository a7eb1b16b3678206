#include "inventory/inventory_records.h"
#include "rest/kestrelvisor_rest_api.h"
#include "tests/support/inventory_builders.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"

#include <boost/make_shared.hpp>

namespace {

using namespace kestrelvisor::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> namesOf(const datastores_t& datastores) {
  std::vector<std::string> names;
  for (const auto& datastore : datastores) names.push_back(datastore->name);
  return names;
}

Document reachedBy(Document datastore, const std::vector<std::string>& hosts) {
  Json::Value list(Json::arrayValue);
  for (const std::string& host : hosts) list.append(host);
  return datastore.with("hosts", list);
}

// --- The query. ---

class DatastoreQuery : public ::testing::Test {
 protected:
  bool ofCluster() { return api_.getDataStoreOfCluster(vrm_, clusterUrn(1), found_, errorCode_); }
  bool ofHost(const std::string& urn) {
    return api_.getDataStoreOfCna(vrm_, urn, found_, errorCode_);
  }
  void clusterHas(const Documents& datastores) {
    manager_.serves("GET", clusterDatastoresTarget(1), ok(listOf("datastores", datastores)));
  }

  LogCapture log_;
  FakeManager manager_;
  VRM_INFO vrm_ = manager_.connection();
  datastores_t found_;
  std::string errorCode_ = "before";
  KestrelVisor_rest_api api_;
};

TEST_F(DatastoreQuery, OfAClusterAsksWithItsScope) {
  clusterHas({});
  EXPECT_TRUE(ofCluster());
  EXPECT_THAT(
      manager_.lines(),
      ElementsAre("POST /service/session",
                  "GET /service/sites/1/datastores?scope=urn:sites:1:clusters:1&status=NORMAL"));
}

TEST_F(DatastoreQuery, OfAHostAsksForAllNormalOnesOfTheSite) {
  servesDatastores(manager_, {});
  EXPECT_TRUE(ofHost(hostUrn(1)));
  EXPECT_THAT(manager_.lines(), ElementsAre("POST /service/session",
                                            "GET /service/sites/1/datastores?status=NORMAL"));
}

TEST_F(DatastoreQuery, MakesTheRecordsRestVersionTheClients) {
  vrm_.restVersion = "6.3";
  clusterHas({});
  EXPECT_TRUE(ofCluster());
  EXPECT_EQ(api_.protocolVersion, "6.3");
}

TEST_F(DatastoreQuery, OfAClusterKeepsAllSupportedOnesWhateverHostsReachThem) {
  clusterHas({aDatastore(1), aDatastore(2).without("hosts"), reachedBy(aDatastore(3), {"x"})});
  EXPECT_TRUE(ofCluster());
  EXPECT_THAT(namesOf(found_), ElementsAre("datastore-1", "datastore-2", "datastore-3"));
}

TEST_F(DatastoreQuery, OfAHostKeepsThoseThatNameIt) {
  servesDatastores(manager_, {reachedBy(aDatastore(1), {hostUrn(2), hostUrn(1)}),
                              reachedBy(aDatastore(2), {hostUrn(2)}), aDatastore(3)});
  EXPECT_TRUE(ofHost(hostUrn(1)));
  EXPECT_THAT(namesOf(found_), ElementsAre("datastore-1"));
}

TEST_F(DatastoreQuery, OfAHostTakesThoseOfAHostWhoseUrnBeginsWithItsOwn) {
  servesDatastores(manager_, {reachedBy(aDatastore(1), {hostUrn(12)})});
  EXPECT_TRUE(ofHost(hostUrn(1)));
  EXPECT_THAT(namesOf(found_), ElementsAre("datastore-1"));
}

TEST_F(DatastoreQuery, OfAHostNeverPicksOneWithoutHosts) {
  servesDatastores(manager_, {aDatastore(1).without("hosts")});
  EXPECT_TRUE(ofHost(hostUrn(1)));
  EXPECT_THAT(found_, IsEmpty());
}

TEST_F(DatastoreQuery, DropsUnsupportedTypesAndStillSucceeds) {
  clusterHas({aDatastore(1).with("storageType", "SAN"), aDatastore(2)});
  EXPECT_TRUE(ofCluster());
  EXPECT_THAT(namesOf(found_), ElementsAre("datastore-2"));
  EXPECT_TRUE(log_.has(3, "The storage type[SAN] is not supported."));
}

TEST_F(DatastoreQuery, AppendsBehindWhatTheListHolds) {
  found_.push_back(boost::make_shared<ST_DATASTORE_INFO>());
  found_.front()->name = "earlier";
  clusterHas({aDatastore(1)});
  EXPECT_TRUE(ofCluster());
  EXPECT_THAT(namesOf(found_), ElementsAre("earlier", "datastore-1"));
}

TEST_F(DatastoreQuery, TellsTheDefaultCodeAfterSuccess) {
  clusterHas({});
  EXPECT_TRUE(ofCluster());
  EXPECT_EQ(errorCode_, "00000000");
}

TEST_F(DatastoreQuery, TellsTheManagersCodeWhenTheRequestIsRefused) {
  manager_.serves("GET", clusterDatastoresTarget(1), refusal(500, "10000123"));
  EXPECT_FALSE(ofCluster());
  EXPECT_EQ(errorCode_, "10000123");
  EXPECT_THAT(found_, IsEmpty());
}

// Unlike the other queries this one leaves the session alone.
TEST_F(DatastoreQuery, KeepsTheSessionWhenTheRequestIsRefused) {
  manager_.serves("GET", clusterDatastoresTarget(1), refusal(500, "10000123"));
  EXPECT_FALSE(ofCluster());
  EXPECT_EQ(api_.tokenMap.size(), 1U);
}

TEST_F(DatastoreQuery, TellsTheManagersCodeWhenTheLoginIsRefused) {
  manager_.serves("POST", "/service/session", refusal(401, "10000040"));
  EXPECT_FALSE(ofHost(hostUrn(1)));
  EXPECT_EQ(errorCode_, "10000040");
}

TEST_F(DatastoreQuery, TellsTheDefaultCodeWhenTheAnswerCannotBeRead) {
  manager_.serves("GET", clusterDatastoresTarget(1), ok("<html>"));
  EXPECT_FALSE(ofCluster());
  EXPECT_EQ(errorCode_, "00000000");
}

TEST_F(DatastoreQuery, LogsInOnceMoreWhenTheManagerHasEndedTheSession) {
  clusterHas({aDatastore(1)});
  manager_.answers("GET", clusterDatastoresTarget(1), 1, refusal(401, "10000002"));
  EXPECT_TRUE(ofCluster());
  EXPECT_THAT(namesOf(found_), ElementsAre("datastore-1"));
}

// --- The list. ---

class DatastoreList : public ::testing::Test {
 protected:
  bool read(const std::string& json) { return api_.toDataStores(json, out_); }

  LogCapture log_;
  datastores_t out_;
  KestrelVisor_rest_api api_;
};

TEST_F(DatastoreList, ReplacesWhatTheListHeld) {
  out_.push_back(boost::make_shared<ST_DATASTORE_INFO>());
  EXPECT_TRUE(read(listOf("datastores", {aDatastore(1)})));
  EXPECT_THAT(namesOf(out_), ElementsAre("datastore-1"));
}

TEST_F(DatastoreList, IsEmptyForATotalOfZeroWhateverTheArrayHolds) {
  const auto json = Document().with("total", 0).with("datastores", arrayOf({aDatastore(1)}));
  EXPECT_TRUE(read(json.text()));
  EXPECT_THAT(out_, IsEmpty());
}

TEST_F(DatastoreList, IsEmptyWithoutATotal) {
  EXPECT_TRUE(read(Document().with("datastores", arrayOf({aDatastore(1)})).text()));
  EXPECT_THAT(out_, IsEmpty());
}

TEST_F(DatastoreList, TakesOnlyAsManyAsTheTotalTells) {
  const auto json =
      Document().with("total", 1).with("datastores", arrayOf({aDatastore(1), aDatastore(2)}));
  EXPECT_TRUE(read(json.text()));
  EXPECT_THAT(namesOf(out_), ElementsAre("datastore-1"));
}

TEST_F(DatastoreList, IsFilledUpWithEmptyRecordsWhenTheTotalIsLargerThanTheArray) {
  const auto json = Document().with("total", 3).with("datastores", arrayOf({aDatastore(1)}));
  EXPECT_TRUE(read(json.text()));
  EXPECT_THAT(namesOf(out_), ElementsAre("datastore-1", "", ""));
  EXPECT_EQ(out_.back()->storageType, EN_DATASTORAGE_TYPE_NOT_SUPPORT);
  EXPECT_EQ(out_.back()->actualFreeSizeGB, 0U);
}

TEST_F(DatastoreList, IsFilledWithEmptyRecordsWhenThereIsNoArray) {
  EXPECT_TRUE(read(R"({"total":2})"));
  EXPECT_THAT(namesOf(out_), ElementsAre("", ""));
}

// As with machines: each element is written out and read back.
TEST_F(DatastoreList, RepairsATextThatIsNoUtf8) {
  EXPECT_TRUE(read("{\"total\":1,\"datastores\":[{\"name\":\"bad-\xff\"}]}"));
  EXPECT_THAT(namesOf(out_), ElementsAre("bad-\xEF\xBF\xBD"));
}

TEST_F(DatastoreList, FailsAndIsEmptiedWhenTheTextCannotBeRead) {
  out_.push_back(boost::make_shared<ST_DATASTORE_INFO>());

  EXPECT_FALSE(read("<html>"));

  EXPECT_THAT(out_, IsEmpty());
  ASSERT_TRUE(log_.has(4, "Failed to parse the JSON string"));
  const auto record = log_.withText("Failed to parse the JSON string").front();
  EXPECT_EQ(record.tag, "VIRDISKLIB_API");
  EXPECT_EQ(record.function, "KestrelVisor_rest_api::toDataStores()");
}

TEST_F(DatastoreList, IsEmptyForADocumentThatIsNoObject) {
  EXPECT_TRUE(read("[1,2]"));
  EXPECT_TRUE(read("null"));
  EXPECT_THAT(out_, IsEmpty());
}

TEST_F(DatastoreList, ThrowsForATotalOfTheWrongType) {
  EXPECT_THROW(read(R"({"total":"two"})"), Json::Exception);
  EXPECT_THROW(read(R"({"total":-1})"), Json::Exception);
}

TEST_F(DatastoreList, ThrowsForAnElementOfTheWrongType) {
  EXPECT_THROW(read(R"({"total":1,"datastores":[{"actualCapacityGB":"x"}]})"), Json::Exception);
}

// --- One record. ---

class DatastoreRecord : public ::testing::Test {
 protected:
  bool read(const Document& json) { return api_.getDatastoreInfo(json.text(), record_); }

  LogCapture log_;
  ST_DATASTORE_INFO record_;
  KestrelVisor_rest_api api_;
};

TEST_F(DatastoreRecord, TakesEveryKey) {
  Json::Value units(Json::arrayValue);
  units.append(Document().with("urn", "u1").with("suName", "su1").with("sdName", "sd1").value());
  units.append(Document().with("urn", "u2").value());

  ASSERT_TRUE(read(reachedBy(aDatastore(1), {"a", "b", "c"})
                       .with("storageType", "advanceSan")
                       .with("suUrn", "su")
                       .with("version", "V5")
                       .with("storageUnits", units)));

  EXPECT_EQ(record_.urn, "urn:sites:1:datastores:1");
  EXPECT_EQ(record_.uri, "/service/sites/1/datastores/1");
  EXPECT_EQ(record_.name, "datastore-1");
  EXPECT_EQ(record_.storageType, EN_DATASTORAGE_TYPE_ADVANCE_SAN);
  EXPECT_EQ(record_.hosts, "a|b|c");
  EXPECT_EQ(record_.suUrn, "su");
  EXPECT_EQ(record_.actualCapacityGB, 100U);
  EXPECT_EQ(record_.actualFreeSizeGB, 40U);
  EXPECT_EQ(record_.version, "V5");
  ASSERT_EQ(record_.storageUnits.size(), 2U);
  EXPECT_EQ(record_.storageUnits.front().urn, "u1");
  EXPECT_EQ(record_.storageUnits.front().suName, "su1");
  EXPECT_EQ(record_.storageUnits.front().sdName, "sd1");
  EXPECT_EQ(record_.storageUnits.back().suName, "");
}

TEST_F(DatastoreRecord, JoinsOneHostWithoutASeparator) {
  ASSERT_TRUE(read(reachedBy(aDatastore(1), {"a"})));
  EXPECT_EQ(record_.hosts, "a");
}

TEST_F(DatastoreRecord, KeepsAnEmptyFirstHostInTheJoinedText) {
  ASSERT_TRUE(read(reachedBy(aDatastore(1), {"", "b"})));
  EXPECT_EQ(record_.hosts, "|b");
}

TEST_F(DatastoreRecord, HasNoHostsForAnEmptyOrMissingArray) {
  record_.hosts = "before";
  ASSERT_TRUE(read(aDatastore(1)));
  EXPECT_EQ(record_.hosts, "");
  record_.hosts = "before";
  ASSERT_TRUE(read(aDatastore(1).without("hosts")));
  EXPECT_EQ(record_.hosts, "");
}

TEST_F(DatastoreRecord, ThrowsForHostsThatAreNoArray) {
  EXPECT_THROW(read(aDatastore(1).with("hosts", "urn")), Json::Exception);
  EXPECT_THROW(read(aDatastore(1).with("hosts", Json::objectValue)), Json::Exception);
}

TEST_F(DatastoreRecord, KeepsItsVersionWhenTheManagerTellsNone) {
  record_.version = "before";
  ASSERT_TRUE(read(aDatastore(1)));
  ASSERT_TRUE(read(aDatastore(1).with("version", Json::nullValue)));
  EXPECT_EQ(record_.version, "before");
}

TEST_F(DatastoreRecord, FailsWhenTheTextCannotBeRead) {
  record_.name = "before";

  EXPECT_FALSE(api_.getDatastoreInfo("{", record_));

  EXPECT_EQ(record_.name, "before");
  ASSERT_TRUE(log_.has(4, "Parse the string is failed!"));
  EXPECT_EQ(log_.withText("Parse the string is failed!").front().tag, "VIRDISKLIB_API");
}

TEST_F(DatastoreRecord, IsEmptyAndUnsupportedForADocumentWithoutKeys) {
  for (const char* const json : {"{}", "null", "[]", "7"}) {
    ST_DATASTORE_INFO record;
    EXPECT_TRUE(api_.getDatastoreInfo(json, record));
    EXPECT_EQ(record.name, "");
    EXPECT_EQ(record.storageType, EN_DATASTORAGE_TYPE_NOT_SUPPORT);
  }
}

// --- Kinds of storage. ---

struct StorageTypeRow {
  const char* text;
  int value;
};
class StorageTypeTest : public ::testing::TestWithParam<StorageTypeRow> {};

TEST_P(StorageTypeTest, HasItsNumber) {
  LogCapture log;
  KestrelVisor_rest_api api;
  EN_DATASTORAGE_TYPE type = EN_DATASTORAGE_TYPE_NOT_SUPPORT;

  EXPECT_TRUE(api.setDatastoreType(GetParam().text, type));

  EXPECT_EQ(type, GetParam().value);
  ASSERT_EQ(log.records().size(), 1U);
  EXPECT_EQ(log.records()[0].text, std::string("datastoreType:") + GetParam().text);
  EXPECT_EQ(log.records()[0].level, 1);
  EXPECT_EQ(log.records()[0].tag, "KestrelVisorEngine");
}

INSTANTIATE_TEST_SUITE_P(Datastore, StorageTypeTest,
                         ::testing::Values(StorageTypeRow{"LUNPOME", 0},
                                           StorageTypeRow{"LOCALPOME", 0}, StorageTypeRow{"NAS", 0},
                                           StorageTypeRow{"QSTORE", 1},
                                           StorageTypeRow{"advanceSan", 2}),
                         [](const auto& row) { return std::string(row.param.text); });

TEST(StorageType, IsComparedExactlyAndAnyOtherTextIsNotSupported) {
  for (const std::string text : {"", "nas", "NAS ", "LUN", "ADVANCESAN"}) {
    LogCapture log;
    KestrelVisor_rest_api api;
    EN_DATASTORAGE_TYPE type = EN_DATASTORAGE_TYPE_VIRTUAL;

    EXPECT_TRUE(api.setDatastoreType(text, type));

    EXPECT_EQ(type, EN_DATASTORAGE_TYPE_NOT_SUPPORT);
    EXPECT_THAT(log.texts(), ElementsAre("datastoreType:" + text,
                                         "The storage type[" + text + "] is not supported."));
    EXPECT_EQ(log.records()[1].level, 3);
    EXPECT_EQ(log.records()[1].tag, "VIRDISKLIB_API");
    EXPECT_EQ(log.records()[1].function, "KestrelVisor_rest_api::setDatastoreType()");
  }
}

TEST(DatastoreFilter, DropsOnlyWhatIsNotSupported) {
  KestrelVisor_rest_api api;
  datastores_t out;
  for (int type = 0; type <= 3; ++type) {
    const auto datastore = boost::make_shared<ST_DATASTORE_INFO>();
    datastore->storageType = static_cast<EN_DATASTORAGE_TYPE>(type);
    datastore->name = std::to_string(type);
    api.addDatastore(datastore, out);
  }
  EXPECT_THAT(namesOf(out), ElementsAre("0", "1", "2"));
}

TEST(DatastoreFilter, SharesTheRecordInsteadOfCopyingIt) {
  KestrelVisor_rest_api api;
  datastores_t out;
  const auto datastore = boost::make_shared<ST_DATASTORE_INFO>();
  api.addDatastore(datastore, out);
  EXPECT_EQ(out.front(), datastore);
}

}  // namespace
