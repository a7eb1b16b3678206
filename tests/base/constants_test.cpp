#include "base/constants.h"

#include "tests/support/test_headers.h"

namespace {

using namespace kestrelvisor;
using ::testing::ElementsAreArray;

const char* const kWordsOfTheFamily[] = {
    "LOG",
    "***",
    "disk_restore_created_volumes",
    "disk_restore_attached_volumes",
    "added_storage_resource",
    "added_datastore",
    "task_type",
    "IncrementalMachineRestore",
    "KCP-FLR-",
    "internal error.",
    "./",
    "DiffBitmapAndBit1Num",
    "IDE",
    "SCSI",
    "VIRTIO",
    "QSTORE",
    "VIRTUAL",
    "NOT_SUPPORT",
    "###<vm_uuid>###",
    "###<vm_uuid_end>###",
    "CBTBackup",
    "CBTRestore",
    "SANBackup",
    "SANRestore",
    "RestoreVol",
    "lanssl",
    "lan",
    "#@#",
    "LAN-Base",
    "LAN-Base(SSL)",
    "LAN-Free",
    "LAN-Free(SSL)",
    "EventClient",
    "EventServer",
    "backup_restore_resources",
    "IP",
    "snapshot_volumes_attached",
    "bitmap_volumes_created",
    "bitmap_volumes_attached",
    "data_volumes_attached",
    "cache_uuid",
};

TEST(SharedWords, AreThoseOfTheFamily) {
  EXPECT_THAT(kSharedWords, ElementsAreArray(kWordsOfTheFamily));
}

// Character by character, so that no layer of quoting hides a lost backslash.
TEST(ForbiddenNameCharacters, AreNamedByARegularExpression) {
  const std::wstring expected = {L'[', L'/', L'\\', L'\\', L'\'', L'"', L'\\', L'[', L'\\', L']',
                                 L'<', L'>', L';',  L'&',  L'=',  L',', L'?',  L'*', L'#',  L'|',
                                 L'%', L'~', L'^',  L'{',  L'}',  L'$', L'!',  L']'};

  EXPECT_EQ(std::wstring(kForbiddenNameCharacters), expected);
}

TEST(ForbiddenBrackets, AreNamedByARegularExpression) {
  const std::wstring expected = {L'[', L'\\', L'[', L'\\', L']', L'{', L'}', L']'};

  EXPECT_EQ(std::wstring(kForbiddenBrackets), expected);
}

TEST(LogTags, AreTheOnesThatHostsMatch) {
  EXPECT_EQ(kModuleTag, "KestrelVisorEngine");
  EXPECT_EQ(kApiTag, "KESTRELVISOR_API");
  EXPECT_EQ(kDiskLibTag, "VIRDISKLIB_API");
  EXPECT_EQ(kEnvEngineTag, "EnvEngine");
}

}  // namespace
