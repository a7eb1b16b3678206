#include "base/vrm_info.h"
#include "platform/contract/helpers.h"
#include "tests/support/test_headers.h"

namespace {

TEST(ConnectionDefaults, GiveAFreshRecordTypeOne) {
  VRM_INFO vrm;

  SetDefaultValueForVRMInfo(vrm);

  EXPECT_EQ(vrm.type, 1);
}

TEST(ConnectionDefaults, EmptyEveryText) {
  VRM_INFO vrm;
  const std::vector<std::string*> texts{&vrm.objectStr,  &vrm.KestrelVisorObj::name,
                                        &vrm.oldGuid,    &vrm.guid,
                                        &vrm.urn,        &vrm.uri,
                                        &vrm.name,       &vrm.vrmIp,
                                        &vrm.vrmCert,    &vrm.clientUsername,
                                        &vrm.spareText1, &vrm.clientPassword,
                                        &vrm.spareText2, &vrm.restVersion};
  for (std::string* const text : texts) *text = "used";

  SetDefaultValueForVRMInfo(vrm);

  for (const std::string* const text : texts) EXPECT_EQ(*text, "");
}

TEST(ConnectionDefaults, ZeroEveryNumber) {
  VRM_INFO vrm;
  vrm.isSelf = true;
  for (std::int32_t* const number :
       {&vrm.vrmPort, &vrm.useHttps, &vrm.spareNumber1, &vrm.spareNumber2, &vrm.spareNumber3})
    *number = 7;

  SetDefaultValueForVRMInfo(vrm);

  EXPECT_FALSE(vrm.isSelf);
  EXPECT_EQ(vrm.vrmPort, 0);
  EXPECT_EQ(vrm.useHttps, 0);
  EXPECT_EQ(vrm.spareNumber1, 0);
  EXPECT_EQ(vrm.spareNumber2, 0);
  EXPECT_EQ(vrm.spareNumber3, 0);
}

TEST(ConnectionDefaults, WipeTheCharactersOfThePassword) {
  VRM_INFO vrm;
  vrm.clientPassword = "a password that does not fit into the object itself";
  const char* const characters = vrm.clientPassword.data();
  const std::size_t size = vrm.clientPassword.size();

  SetDefaultValueForVRMInfo(vrm);

  EXPECT_EQ(std::string(characters, size), std::string(size, '\0'));
}

}  // namespace
