#include "base/vrm_info.h"

#include "tests/support/test_headers.h"

#include <type_traits>

namespace {

TEST(ConnectionRecord, StartsWithEmptyTextsAndZeroNumbers) {
  const VRM_INFO vrm;

  EXPECT_EQ(vrm.type, 0);
  EXPECT_EQ(vrm.urn + vrm.uri + vrm.name + vrm.vrmIp + vrm.clientUsername + vrm.clientPassword, "");
  EXPECT_EQ(vrm.vrmCert + vrm.spareText1 + vrm.spareText2 + vrm.restVersion, "");
  EXPECT_EQ(vrm.spareNumber1 + vrm.spareNumber2 + vrm.spareNumber3, 0);
  EXPECT_EQ(vrm.vrmPort, 0);
  EXPECT_EQ(vrm.useHttps, 0);
  EXPECT_FALSE(vrm.isSelf);
}

TEST(ConnectionRecord, HasANameOfItsOwnBesideTheBases) {
  VRM_INFO vrm;
  vrm.name = "site";
  vrm.KestrelVisorObj::name = "object";

  EXPECT_EQ(vrm.name, "site");
  EXPECT_EQ(vrm.KestrelVisorObj::name, "object");
}

TEST(ConnectionRecord, IsCopiedFieldByField) {
  VRM_INFO vrm;
  vrm.vrmIp = "127.0.0.1";
  vrm.clientPassword = "secret";
  vrm.vrmPort = 7443;

  const VRM_INFO copy(vrm);

  EXPECT_EQ(copy.vrmIp, "127.0.0.1");
  EXPECT_EQ(copy.clientPassword, "secret");
  EXPECT_EQ(copy.vrmPort, 7443);
}

TEST(ConnectionRecord, CannotBeAssigned) { EXPECT_FALSE(std::is_copy_assignable_v<VRM_INFO>); }

TEST(ConnectionRecord, WipesItsPasswordWhenItEnds) {
  alignas(VRM_INFO) unsigned char storage[sizeof(VRM_INFO)] = {};
  auto* const vrm = new (storage) VRM_INFO;
  vrm->clientPassword = "short-secret";  // short enough to stand inside the record
  const std::string_view bytes(reinterpret_cast<const char*>(storage), sizeof storage);
  ASSERT_NE(bytes.find("short-secret"), std::string_view::npos);

  vrm->~VRM_INFO();

  EXPECT_EQ(bytes.find("short-secret"), std::string_view::npos);
}

TEST(InventoryObject, StartsWithoutAKind) {
  const KestrelVisorObj object;

  EXPECT_EQ(object.type, 1000);
  EXPECT_EQ(object.objectStr + object.name + object.oldGuid + object.guid, "");
}

TEST(InventoryObject, IsAssignedFieldByField) {
  KestrelVisorObj object;
  object.type = 12;
  object.name = "name";
  object.guid = "guid";
  KestrelVisorObj other;

  other = object;

  EXPECT_EQ(other.type, 12);
  EXPECT_EQ(other.name, "name");
  EXPECT_EQ(other.guid, "guid");
}

}  // namespace
