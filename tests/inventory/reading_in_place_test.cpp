// Compares what the engine reads from an answer where it stands with what it reads from elements
// that are written out and parsed again: same records, same log records, same exceptions. The
// answers are the fuzzers', and random changes of them; they are always the same.

#include "rest/clock.h"
#include "rest/json_utils.h"
#include "rest/rewriting.h"
#include "tests/fuzz/scripted_manager.h"
#include "tests/fuzz/session.h"
#include "tests/support/literal_forms.h"
#include "tests/support/log_capture.h"
#include "tests/support/record_text.h"
#include "tests/support/test_headers.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned int seed);

// What the fuzzer's library does to bytes, in small.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize) {
  static constexpr std::string_view kBytes = "\"\\,:[]{}0-.eEu/*\n\xff\xc3\xa4";
  static std::minstd_rand random;
  if (size == 0) return 0;
  const std::size_t at = random() % size;
  const auto byte = static_cast<std::uint8_t>(kBytes[random() % kBytes.size()]);
  switch (random() % 3) {
    case 0:
      data[at] = byte;
      return size;
    case 1:
      std::memmove(data + at, data + at + 1, size - at - 1);
      return size - 1;
    default:
      if (size == maxSize) return size;
      std::memmove(data + at + 1, data + at, size - at);
      data[at] = byte;
      return size + 1;
  }
}

namespace {

using namespace kestrelvisor::test;
using kestrelvisor::fuzz::PlainClient;
using kestrelvisor::fuzz::ScriptedManager;

namespace fs = std::filesystem;
namespace fuzz = kestrelvisor::fuzz;

const std::string kScope = "urn:sites:1:hosts:1";

std::string contentOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The texts of some folders of the fuzzers' corpora, in the order of their names.
std::vector<std::string> corpora(std::initializer_list<const char*> folders) {
  std::vector<fs::path> files;
  for (const char* folder : folders) {
    for (const auto& entry : fs::directory_iterator(fs::path(FUZZ_CORPUS) / folder)) {
      files.push_back(entry.path());
    }
  }
  std::ranges::sort(files);
  std::vector<std::string> texts;
  for (const fs::path& file : files) texts.push_back(contentOf(file));
  return texts;
}

std::string mutated(std::string text, int changes, std::uint32_t seed) {
  constexpr std::size_t kRoom = 256;
  const std::size_t limit = text.size() + kRoom;
  text.resize(limit);
  std::size_t size = limit - kRoom;
  for (int change = 0; change < changes; ++change) {
    size = LLVMFuzzerCustomMutator(reinterpret_cast<std::uint8_t*>(text.data()), size, limit,
                                   seed + static_cast<std::uint32_t>(change) * 7919U);
  }
  text.resize(size);
  return text;
}

// What a reading leaves behind.
struct Outcome {
  std::string end;  // "true", "false", or what was thrown
  std::string records;
  std::vector<std::string> lines;

  bool operator==(const Outcome&) const = default;
};

template <class Read>
Outcome outcomeOf(const Read& read) {
  const LogCapture log;
  Outcome outcome;
  try {
    outcome.end = read(outcome.records) ? "true" : "false";
  } catch (const std::exception& problem) {
    outcome.end = std::string(typeid(problem).name()) + ": " + problem.what();
  }
  for (const auto& record : log.records()) {
    outcome.lines.push_back(std::to_string(record.level) + ' ' + record.tag + ' ' +
                            record.function + ' ' + record.text);
  }
  return outcome;
}

void expectSame(const Outcome& inPlace, const Outcome& rewritten) {
  EXPECT_EQ(inPlace.end, rewritten.end);
  EXPECT_EQ(inPlace.records, rewritten.records);
  EXPECT_EQ(inPlace.lines, rewritten.lines);
}

// Lists the machines of a script of answers. A derived client is handed texts.
Outcome listMachines(KestrelVisor_rest_api& client, std::string_view script) {
  const ScriptedManager manager(script);
  VRM_INFO vrm = fuzz::connection();
  KestrelVisorErrorMessage error;
  std::list<boost::shared_ptr<KestrelVisorObj>> found;
  return outcomeOf([&](std::string& records) {
    // Takes what was found on each way out.
    struct Take {
      ~Take() {
        for (const auto& object : found) text += textOf(dynamic_cast<const VM_INFO&>(*object));
        text += error.errorCode + error.errorDescription;
      }
      std::string& text;
      const std::list<boost::shared_ptr<KestrelVisorObj>>& found;
      const KestrelVisorErrorMessage& error;
    } const take{records, found, error};
    return client.getVMFromVrm(vrm, kScope, found, error);
  });
}

class ReadingInPlace : public ::testing::Test {
 protected:
  ReadingInPlace() {
    kestrelvisor::setClock([] { return static_cast<std::time_t>(fuzz::kNow); });
  }
  ~ReadingInPlace() override { kestrelvisor::setClock(nullptr); }

  void comparePages(const std::string& script) {
    PlainClient plain;
    fuzz::Client derived;
    const Outcome inPlace = listMachines(plain.api, script);
    expectSame(inPlace, listMachines(derived, script));
    if (inPlace.records.find("urn:") != std::string::npos) ++withRecords_;
    if (inPlace.end.find("Json") != std::string::npos) ++withExceptions_;
  }

  void compareDatastores(const std::string& json) {
    PlainClient client;
    const auto read = [&](auto&& toDataStores) {
      return outcomeOf([&](std::string& records) {
        datastores_t found;
        const bool good = toDataStores(found);
        records = textOf(found);
        return good;
      });
    };
    const Outcome inPlace =
        read([&](datastores_t& out) { return client.api.toDataStores(json, out); });
    expectSame(inPlace, read([&](datastores_t& out) {
                 return literal::toDataStores(client.api, json, out);
               }));
    if (!inPlace.records.empty()) ++withRecords_;
    if (inPlace.end.find("Json") != std::string::npos) ++withExceptions_;
  }

  int withRecords_ = 0;
  int withExceptions_ = 0;
};

std::string pageOf(const std::string& element) { return R"({"total":1,"vms":[)" + element + "]}"; }

// A machine with everything that is read of one.
const std::string kMachine = R"({
  "urn":"urn:sites:1:vms:1","uri":"/service/sites/1/vms/1","name":"vm-1","description":"d",
  "group":"KC_g","location":"urn:sites:1:hosts:1","locationName":"h","hostUrn":"urn:sites:1:hosts:1",
  "clusterUrn":"c","status":"running","pvDriverStatus":"p","cdRomStatus":"cd","createTime":"t",
  "isTemplate":false,"isLinkClone":false,"fileMode":1,"isBindingHost":0,"toolsVersion":"1",
  "vncAcessInfo":{"hostIp":"10.0.0.1","vncPort":5900},
  "osOptions":{"osType":"Linux","hostname":"n","osVersion":7,"guestOSName":"g"},
  "uuid":"aaaaaaaa-0000-4000-8000-000000000001","params":{"externalUuid":"x"},
  "securityGroupSet":[{"groupId":"s"}],"dataStoreUrns":["urn:sites:1:datastores:1"],
  "vmConfig":{"cpu":{"quantity":2,"reservation":0,"weight":1000,"limit":0,"cpuHotPlug":1},
    "memory":{"quantityMB":4096,"reservation":0,"weight":10,"limit":0,"memHotPlug":0},
    "properties":{"bootOption":"disk","isEnableHa":true,"cdRomBootOrder":3,"isAutoUpgrade":false,
      "attachType":true,"gpuShareType":"g","bootFirmware":"UEFI"},
    "disks":[{"volumeUrn":"v","diskName":"d","datastoreUrn":"no","sequenceNum":1,"quantityGB":10,
      "volumeUuid":"u","pciType":"SCSI","bootOrder":1,"storageProtocol":1,"systemVolume":true,
      "maxReadBytes":-1,"volType":1,"ioMode":"dataplane",
      "customProperties":{"external_uuid":"e"}},{"pciType":"scsi","storageProtocol":"iscsi"}],
    "nics":[{"name":"n","mac":"00:11","ip":"10.0.0.9","virtIo":1,"sequenceNum":2,"bootOrder":4}],
    "gpu":[{"gpuUrn":"gpu"}],"usb":[{"controllerType":"ehci"}]}})";

const std::string kDatastores = R"({"total":3,"datastores":[
  {"urn":"urn:sites:1:datastores:1","uri":"/d/1","name":"d-1","storageType":"NAS",
   "hosts":["urn:sites:1:hosts:1","urn:sites:1:hosts:2"],"suUrn":"su","actualCapacityGB":100,
   "actualFreeSizeGB":40,"version":"5","storageUnits":[{"urn":"u","sdName":"sd","suName":"su"}]},
  {"urn":"urn:sites:1:datastores:2","name":"d-2","storageType":"tape"}]})";

TEST_F(ReadingInPlace, GivesTheSameMachineAsATextOfIt) {
  comparePages(pageOf(kMachine));
  EXPECT_EQ(withRecords_, 1);
}

TEST_F(ReadingInPlace, GivesTheSameMachinesForTheFuzzersAnswers) {
  for (const std::string& script : corpora({"machine_page", "scan"})) {
    SCOPED_TRACE(script);
    comparePages(script);
    if (HasFailure()) return;
  }
  for (const std::string& element : corpora({"machine_detail"})) {
    SCOPED_TRACE(element);
    comparePages(pageOf(element));
    if (HasFailure()) return;
  }
}

TEST_F(ReadingInPlace, GivesTheSameMachinesForRandomAnswers) {
  for (std::uint32_t seed = 0; seed < 1500; ++seed) {
    const std::string script = pageOf(mutated(kMachine, 1 + static_cast<int>(seed % 4), seed));
    SCOPED_TRACE(script);
    comparePages(script);
    if (HasFailure()) return;
  }
  EXPECT_GT(withRecords_, 100);
  EXPECT_GT(withExceptions_, 30);
}

TEST_F(ReadingInPlace, GivesTheSameDatastoresForTheFuzzersAnswers) {
  for (const std::string& json : corpora({"datastores", "json_text"})) {
    if (json.find("999") != std::string::npos) continue;  // records by the million
    SCOPED_TRACE(json);
    compareDatastores(json);
    if (HasFailure()) return;
  }
  EXPECT_GT(withRecords_, 3);
}

TEST_F(ReadingInPlace, GivesTheSameDatastoresForRandomAnswers) {
  for (std::uint32_t seed = 0; seed < 1500; ++seed) {
    const std::string elements =
        mutated(kDatastores.substr(10), 1 + static_cast<int>(seed % 4), seed);
    const std::string json = R"({"total":3)" + elements;
    SCOPED_TRACE(json);
    compareDatastores(json);
    if (HasFailure()) return;
  }
  EXPECT_GT(withRecords_, 100);
  EXPECT_GT(withExceptions_, 30);
}

// The two roads differ where the writer repairs a text, so such an answer takes the longer one.
TEST_F(ReadingInPlace, RepairsTextsAsTheWriterDoes) {
  for (const std::string& bad :
       {std::string("\xff"), std::string("\\udc00"), std::string("\xed\xa0\x80")}) {
    std::string machine = kMachine;
    machine.replace(machine.find("vm-1"), 4, bad);
    comparePages(pageOf(machine));
    std::string datastores = kDatastores;
    datastores.replace(datastores.find("d-1"), 3, bad);
    compareDatastores(datastores);
  }
  EXPECT_EQ(withRecords_, 6);
}

// A client that counts the texts that it is handed.
class CountingClient : public fuzz::Client {
 public:
  bool getVMDetail(const std::string& json, VM_DETAIL* detail) override {
    ++texts;
    return KestrelVisor_rest_api::getVMDetail(json, detail);
  }
  int texts = 0;
};

TEST_F(ReadingInPlace, HandsADerivedClientEachMachineAsText) {
  CountingClient client;
  listMachines(client, pageOf(kMachine));
  EXPECT_EQ(client.texts, 1);
}

// --- The datastores of a listing's hosts. ---

std::string hostsOf(int count) {
  std::string text = R"({"hosts":[)";
  for (int number = 1; number <= count; ++number) {
    const std::string n = std::to_string(number);
    text += std::string(number > 1 ? "," : "") + R"({"urn":"urn:sites:1:hosts:)" + n +
            R"(","uri":"/h/)" + n + "\"}";
  }
  return text + "]}";
}

// The answers to the hosts' datastore queries, and what each host gets.
class DatastoresOfAListing : public ReadingInPlace {
 protected:
  void list(const std::vector<std::string>& answers, int transfersUntilGone = 100) {
    std::string script = hostsOf(static_cast<int>(answers.size()));
    for (const std::string& answer : answers) script += "\n----\n" + answer;
    PlainClient client;
    VRM_INFO vrm = fuzz::connection();
    KestrelVisorErrorMessage error;
    const ScriptedManager manager(script, ScriptedManager::Sessions::granted, transfersUntilGone);
    outcome_ = outcomeOf(
        [&](std::string&) { return client.api.getCnaFromVrm(vrm, "default", hosts_, error); });
    transfers_ = manager.transfers();
  }

  // As many hosts, each asked about on its own.
  void expectAsFromSingleQueries(const std::vector<std::string>& answers) {
    std::vector<std::string> expected;
    auto host = hosts_.begin();
    for (std::size_t number = 1; number <= answers.size(); ++number) {
      PlainClient client;
      VRM_INFO vrm = fuzz::connection();
      const ScriptedManager manager(answers[number - 1]);
      datastores_t found;
      const Outcome single = outcomeOf([&](std::string&) {
        std::string errorCode;
        return client.api.getDataStoreOfCna(vrm, "urn:sites:1:hosts:" + std::to_string(number),
                                            found, errorCode);
      });
      expected.insert(expected.end(), single.lines.begin(), single.lines.end());
      if (single.end != "true") break;
      ASSERT_NE(host, hosts_.end());
      EXPECT_EQ(textOf(dynamic_cast<const CNA_INFO&>(**host).datastores), textOf(found));
      ++host;
    }
    EXPECT_EQ(host, hosts_.end());
    EXPECT_EQ(linesOfQueries(outcome_.lines), linesOfQueries(expected));
  }

  // Those about datastores and the answers that bring them.
  static std::vector<std::string> linesOfQueries(std::vector<std::string> lines) {
    std::erase_if(lines, [](const std::string& line) {
      return line.find("toDataStores") == std::string::npos &&
             line.find("setDatastoreType") == std::string::npos &&
             line.find("\"datastores\"") == std::string::npos;
    });
    return lines;
  }

  std::list<boost::shared_ptr<KestrelVisorObj>> hosts_;
  Outcome outcome_;
  int transfers_ = 0;
};

std::string withName(const std::string& name) {
  std::string answer = kDatastores;
  return answer.replace(answer.find("d-1"), 3, name);
}

TEST_F(DatastoresOfAListing, AreAskedForAndToldOfForEachHostThoughTheAnswerRepeats) {
  const std::vector<std::string> answers(3, kDatastores);
  list(answers);
  EXPECT_EQ(outcome_.end, "true");
  EXPECT_EQ(transfers_, 4);
  EXPECT_EQ(std::ranges::count_if(
                outcome_.lines,
                [](const std::string& line) { return line.ends_with("datastoreType:NAS"); }),
            3);
  expectAsFromSingleQueries(answers);
}

TEST_F(DatastoresOfAListing, AreSharedWhileTheAnswerRepeats) {
  list({kDatastores, kDatastores, withName("x")});
  std::vector<const ST_DATASTORE_INFO*> records;
  for (const auto& host : hosts_) {
    for (const auto& one : dynamic_cast<const CNA_INFO&>(*host).datastores) {
      records.push_back(one.get());
    }
  }
  // The third host is reached by none.
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[0], records[1]);
}

TEST_F(DatastoresOfAListing, FollowEachChangeOfTheAnswer) {
  for (const std::vector<std::string>& answers :
       {std::vector<std::string>{kDatastores, withName("x"), kDatastores, kDatastores},
        {withName("\xff"), withName("\xff"), kDatastores, withName("\xff")},
        {R"({"total":0})", R"({"total":0})", kDatastores, R"({"total":0})"},
        {kDatastores, kDatastores + " ", "[]", "null"}}) {
    hosts_.clear();
    list(answers);
    EXPECT_EQ(outcome_.end, "true");
    expectAsFromSingleQueries(answers);
  }
}

TEST_F(DatastoresOfAListing, EndWithAnAnswerThatCannotBeReadOrIsRefused) {
  for (const std::string& bad : {std::string("{"), std::string("HTTP/1.1 500 Error\r\n\r\n{}"),
                                 std::string("!28\n----\n!28")}) {
    const std::vector<std::string> answers{kDatastores, kDatastores, bad, kDatastores};
    hosts_.clear();
    list(answers);
    EXPECT_EQ(outcome_.end, "false");
    EXPECT_EQ(hosts_.size(), 2U);
    expectAsFromSingleQueries(answers);
  }
}

TEST_F(DatastoresOfAListing, ThrowAsASingleQueryDoes) {
  const std::vector<std::string> answers{kDatastores, kDatastores,
                                         R"({"total":1,"datastores":[{"hosts":7}]})"};
  list(answers);
  EXPECT_NE(outcome_.end.find("Json"), std::string::npos);
  EXPECT_EQ(hosts_.size(), 2U);
  expectAsFromSingleQueries(answers);
}

// What one listing read is nothing to the next, which may have another answer to the same query.
TEST_F(DatastoresOfAListing, AreForgottenAtItsEnd) {
  list({kDatastores});
  list({kDatastores});
  ASSERT_EQ(hosts_.size(), 2U);
  const auto recordOf = [](const boost::shared_ptr<KestrelVisorObj>& host) {
    return dynamic_cast<const CNA_INFO&>(*host).datastores.front().get();
  };
  EXPECT_NE(recordOf(hosts_.front()), recordOf(hosts_.back()));
}

TEST_F(DatastoresOfAListing, AreThoseWhoseHostsContainTheUrnAnywhere) {
  const std::string many =
      R"({"total":1,"datastores":[{"storageType":"NAS","hosts":["urn:sites:1:hosts:21"]}]})";
  list({many, many, many});
  std::vector<std::size_t> counts;
  for (const auto& host : hosts_) {
    counts.push_back(dynamic_cast<const CNA_INFO&>(*host).datastores.size());
  }
  EXPECT_EQ(counts, (std::vector<std::size_t>{0, 1, 0}));
}

}  // namespace
