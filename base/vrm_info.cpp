#include "base/vrm_info.h"

KestrelVisorObj::KestrelVisorObj() = default;
KestrelVisorObj::KestrelVisorObj(const KestrelVisorObj&) = default;
KestrelVisorObj& KestrelVisorObj::operator=(const KestrelVisorObj&) = default;
KestrelVisorObj::~KestrelVisorObj() = default;

VRM_INFO::VRM_INFO() { type = 0; }

VRM_INFO::VRM_INFO(const VRM_INFO&) = default;

VRM_INFO::~VRM_INFO() = default;
