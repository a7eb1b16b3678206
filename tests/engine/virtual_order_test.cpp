#include "engine/kestrelvisor_engine.h"
#include "engine/kestrelvisor_public.h"
#include "tests/support/test_headers.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <type_traits>

namespace {

// Hosts call through the tables, so the order is binary interface. A pointer to a virtual member
// holds 1 plus the member's offset in the table.
template <class Member>
std::ptrdiff_t slotOf(Member member) {
  std::array<std::ptrdiff_t, 2> parts{};
  static_assert(sizeof(member) == sizeof(parts));
  std::memcpy(parts.data(), &member, sizeof(parts));
  constexpr std::ptrdiff_t kNotVirtual = -1;
  if (parts[0] % 2 == 0) return kNotVirtual;
  return (parts[0] - 1) / std::ptrdiff_t{sizeof(void*)};
}

// The destructor takes the first two slots where it is virtual.
constexpr std::ptrdiff_t kBehindDestructor = 2;

TEST(VirtualOrder, OfTheEngine) {
  EXPECT_TRUE(std::has_virtual_destructor_v<KestrelVisorEngine>);
  EXPECT_EQ(slotOf(&KestrelVisorEngine::Init), kBehindDestructor);
  EXPECT_EQ(slotOf(&KestrelVisorEngine::VerifyCredentials), kBehindDestructor + 1);
  EXPECT_EQ(slotOf(&KestrelVisorEngine::scanEnvironment), kBehindDestructor + 2);
  EXPECT_EQ(slotOf(&KestrelVisorEngine::DisableCBT), kBehindDestructor + 3);
  EXPECT_EQ(slotOf(&KestrelVisorEngine::DeleteV3Map), kBehindDestructor + 4);
}

TEST(VirtualOrder, OfTheEngineIsThatOfTheHostsBase) {
  EXPECT_EQ(slotOf(&EngineBase::Init), slotOf(&KestrelVisorEngine::Init));
  EXPECT_EQ(slotOf(&EngineBase::VerifyCredentials), slotOf(&KestrelVisorEngine::VerifyCredentials));
  EXPECT_EQ(slotOf(&EngineBase::scanEnvironment), slotOf(&KestrelVisorEngine::scanEnvironment));
  EXPECT_EQ(slotOf(&EngineBase::DisableCBT), slotOf(&KestrelVisorEngine::DisableCBT));
  EXPECT_EQ(slotOf(&EngineBase::DeleteV3Map), slotOf(&KestrelVisorEngine::DeleteV3Map));
}

TEST(VirtualOrder, OfThePublicObject) {
  EXPECT_TRUE(std::has_virtual_destructor_v<KestrelVisorPublic>);
  EXPECT_EQ(slotOf(&KestrelVisorPublic::VerifyCredentials), kBehindDestructor);
  EXPECT_EQ(slotOf(&KestrelVisorPublic::scanEnvironment), kBehindDestructor + 1);
  EXPECT_EQ(slotOf(&KestrelVisorPublic::DisableCBT), kBehindDestructor + 2);
}

TEST(VirtualOrder, OfTheRestClient) {
  EXPECT_FALSE(std::has_virtual_destructor_v<KestrelVisor_rest_api>);
  EXPECT_EQ(slotOf(&KestrelVisor_rest_api::getVMDetail), 0);
  EXPECT_EQ(slotOf(&KestrelVisor_rest_api::disableVmCbt), 1);
  EXPECT_EQ(slotOf(&KestrelVisor_rest_api::getAPIVersion), 2);
  EXPECT_EQ(slotOf(&KestrelVisor_rest_api::my_atoi), 3);
  EXPECT_EQ(slotOf(&KestrelVisor_rest_api::getSupportMaxRestVersion), 4);
}

TEST(VirtualOrder, LeavesTheOtherMembersOutOfTheTables) {
  EXPECT_EQ(slotOf(&KestrelVisorEngine::HandleGetVRMInfo), -1);
  EXPECT_EQ(slotOf(&KestrelVisorEngine::fillVrmInfo), -1);
  EXPECT_EQ(slotOf(&KestrelVisorPublic::getHttpClientPort), -1);
  EXPECT_EQ(slotOf(&KestrelVisorPublic::HandleGetObjInfo), -1);
  EXPECT_EQ(slotOf(&KestrelVisor_rest_api::verifyAuth), -1);
}

}  // namespace
