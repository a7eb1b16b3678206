#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace kestrelvisor {

// Tags of log records.
inline constexpr std::string_view kModuleTag = "KestrelVisorEngine";
inline constexpr std::string_view kApiTag = "KESTRELVISOR_API";
inline constexpr std::string_view kDiskLibTag = "VIRDISKLIB_API";
inline constexpr std::string_view kEnvEngineTag = "EnvEngine";

// Kinds of object, in KestrelVisorObj and on tree nodes. This engine makes hosts, clusters and
// machines; hosts of this family know the other kinds too, and the scan and the reply tell them
// apart.
inline constexpr std::int32_t kKindGroup = 4;
inline constexpr std::int32_t kKindHost = 5;
inline constexpr std::int32_t kKindCluster = 6;
inline constexpr std::int32_t kKindMachine = 7;
inline constexpr std::int32_t kKind9 = 9;
inline constexpr std::int32_t kKind12 = 12;
inline constexpr std::int32_t kKind13 = 13;
inline constexpr std::int32_t kKind14 = 14;
inline constexpr std::int32_t kKind23 = 23;
inline constexpr std::int32_t kKindNotSet = 1000;

// What a REST client starts with.
inline constexpr std::string_view kDefaultRestVersion = "1.2";
inline constexpr std::string_view kCharset = "UTF-8";
inline constexpr std::string_view kLanguage = "en_US";

// What a KestrelVisorErrorMessage starts with and is reset to.
inline constexpr std::string_view kDefaultErrorCode = "00000000";
inline constexpr std::string_view kDefaultErrorDescription = "internal error.";

inline constexpr std::string_view kUnknownProperty = "notexit";
inline constexpr std::string_view kFlagSet = "1";

// Texts of CBTGetErrorCode, by value. Hosts match them: the spelling stays.
inline constexpr std::array<std::string_view, 18> kCbtErrorTexts{
    "CBT Get OK",
    "get vmhandle failed",
    "snapshot ID is NULL",
    "get qstore IP failed",
    "create and open bitmap volume failed",
    "get dirty ranges failed",
    "close and delete bitmap volume failed",
    "get CBT exceed disk size",
    "the previous snapshot change ID is null",
    "the snapshot is invalid",
    "get snapshot vmhandle failed",
    "get vmhandle failed when delete snapshot",
    "get vmhandle failed when get dirty ranges",
    "get vmhandle failed when kestrel vsior engine get dirty ranges",
    "QStore agent is not be installed",
    "Java file is not exist",
    "Java file have no permission",
    "VBS_TOOL configure fault",
};

// Words that hosts and engines of this family agree on. This engine reads none of them.
inline constexpr std::array<std::string_view, 41> kSharedWords{
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

// Regular expressions for the characters that names must not hold; read by no code here either.
inline constexpr std::wstring_view kForbiddenNameCharacters = LR"([/\\'"\[\]<>;&=,?*#|%~^{}$!])";
inline constexpr std::wstring_view kForbiddenBrackets = LR"([\[\]{}])";

}  // namespace kestrelvisor
