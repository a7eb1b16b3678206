#pragma once

#include <string>

// How much the host does when the engine logs, has a text cleaned for the log, or has a password
// decrypted. Each strength is a program of its own, whose definitions of the contract's functions
// stand in front of the platform's:
//
//   null     nothing: records are dropped unseen, a cleaned text is empty
//   copying  every record is put together and dropped, every text is copied
//   real     the reference platform, as it ships
namespace kestrelvisor::bench {

const char* strengthOfStandIns();

// The password as this host keeps it, so that its decryption gives it back.
std::string storedPassword(const std::string& password);

}  // namespace kestrelvisor::bench
