// What the queries do when there is no memory for a record. This binary replaces operator new: the
// allocation of a size that is learned from a record fails on the calling thread.

#include "inventory/allocation.h"

#include "inventory/inventory_records.h"
#include "rest/kestrelvisor_rest_api.h"
#include "tests/support/inventory_builders.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"

#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t largestSize = 0;
thread_local std::size_t refusedSize = 0;  // 0: none
thread_local int grantsBefore = 0;         // of the refused size

void* allocate(std::size_t size) noexcept {
  if (size > largestSize) largestSize = size;
  if (size == refusedSize && grantsBefore-- == 0) return nullptr;
  return std::malloc(size == 0 ? 1 : size);
}

void* allocateOrThrow(std::size_t size) {
  void* const memory = allocate(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

void* operator new(std::size_t size) { return allocateOrThrow(size); }
void* operator new[](std::size_t size) { return allocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }

namespace {

using namespace kestrelvisor::test;
using ::testing::IsEmpty;

// Refuses the nth allocation of a record, counted from 0, until the scope ends.
template <class Record>
class NoMemoryFor {
 public:
  explicit NoMemoryFor(int granted) {
    largestSize = 0;
    kestrelvisor::allocateOrNull<Record>();
    refusedSize = largestSize;
    grantsBefore = granted;
  }
  ~NoMemoryFor() { refusedSize = 0; }
  NoMemoryFor(const NoMemoryFor&) = delete;
  NoMemoryFor& operator=(const NoMemoryFor&) = delete;
};

class QueryWithoutMemory : public ::testing::Test {
 protected:
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& object : objects_) names.push_back(object->name);
    return names;
  }
  void expectLine(int level, const std::string& text, const std::string& tag) {
    ASSERT_TRUE(log_.has(level, text));
    EXPECT_EQ(log_.withText(text).front().tag, tag);
  }

  LogCapture log_;
  FakeManager manager_;
  VRM_INFO vrm_ = manager_.connection();
  KestrelVisorErrorMessage error_;
  std::list<boost::shared_ptr<KestrelVisorObj>> objects_;
  KestrelVisor_rest_api api_;
};

TEST_F(QueryWithoutMemory, ForASecondClusterFailsAndKeepsTheFirst) {
  servesClusters(manager_, {aCluster(1), aCluster(2)});
  manager_.serves("GET", clusterDatastoresTarget(1), ok(listOf("datastores", {})));
  {
    const NoMemoryFor<CLUSTER_INFO> refused(1);
    EXPECT_FALSE(api_.getClusterFromVrm(vrm_, objects_, error_));
  }
  EXPECT_EQ(names(), std::vector<std::string>{"cluster-1"});
  expectLine(2, "Failed to allocate space to fill new cluster object", "KestrelVisorEngine");
}

TEST_F(QueryWithoutMemory, ForASecondHostFailsAndKeepsTheFirst) {
  servesHosts(manager_, "default", {aHost(1), aHost(2)});
  servesDatastores(manager_, {});
  {
    const NoMemoryFor<CNA_INFO> refused(1);
    EXPECT_FALSE(api_.getCnaFromVrm(vrm_, "default", objects_, error_));
  }
  EXPECT_EQ(names(), std::vector<std::string>{"host-1"});
  expectLine(4, "Failed to allocate space to fill new cna object", "KestrelVisorEngine");
}

TEST_F(QueryWithoutMemory, ForASecondMachineFailsAndDropsThePage) {
  servesMachines(manager_, hostUrn(1), {aVm(1, hostUrn(1)), aVm(2, hostUrn(1))});
  {
    const NoMemoryFor<VM_INFO> refused(1);
    EXPECT_FALSE(api_.getVMFromVrm(vrm_, hostUrn(1), objects_, error_));
  }
  EXPECT_THAT(objects_, IsEmpty());
  expectLine(4, "Failed to allocate space to fill new vm object", "KestrelVisorEngine");
  expectLine(4, "Failed to get vms info from KestrelVisor", "KestrelVisorEngine");
}

TEST_F(QueryWithoutMemory, ForASecondDatastoreFailsAndStillHandsOnTheFirst) {
  manager_.serves("GET", clusterDatastoresTarget(1),
                  ok(listOf("datastores", {aDatastore(1), aDatastore(2)})));
  datastores_t datastores;
  std::string errorCode;
  {
    const NoMemoryFor<ST_DATASTORE_INFO> refused(1);
    EXPECT_FALSE(api_.getDataStoreOfCluster(vrm_, clusterUrn(1), datastores, errorCode));
  }
  ASSERT_EQ(datastores.size(), 1U);
  EXPECT_EQ(datastores.front()->name, "datastore-1");
  EXPECT_EQ(errorCode, "00000000");
  expectLine(2, "Failed to allocate memory for Data Store object", "VIRDISKLIB_API");
}

}  // namespace
