#pragma once

#include "bench/scan/engine_host.h"
#include "bench/scan/manager.h"
#include "bench/scan/options.h"

#include <json/json.h>

namespace kestrelvisor::bench {

// Rounds of the same requests, made by naked libcurl, by the same with one parse of each body, by
// the engine, and by the peers that the options name. Returns what each of them has cost.
Json::Value measure(const Manager& manager, const Target& target, const EngineHost& host,
                    const Options& options);

// Rounds of scans by two hosts, one of which has called useWipingAllocators. Returns what each of
// them, "plain" and "wiping", has cost, and which has "ownAllocators".
Json::Value measureWiping(const Manager& manager, const Target& target, const Options& options);

// Is such a host. The first line of standard input is JSON, the target's "url" and "certificate".
// Each line has one for an answer on standard output: the first whether OpenSSL has allocators of
// the host's, each further one the cost of a scan. Ends with the input. Throws std::runtime_error
// when libcurl or OpenSSL does not take the allocators.
void serveScans(const Options& options);

// One scan in a process that has done nothing yet: its memory and its stack.
Json::Value measureOnce(const EngineHost& host);

// A scan that logs in and one that has a session already. Writes the requests of both and the reply
// into the folder. The manager writes its request log into a file of that folder.
void listRequests(const EngineHost& host, const std::string& folder);

// The same two scans, whose log somebody reads. Writes all records into the folder, too. With what
// a scan prints for testers that is all that must not change from one version of the engine to the
// next.
Json::Value record(const Target& target, const EngineHost& host, const std::string& folder);

// Where the manager of both writes.
std::string requestLogIn(const std::string& folder);

}  // namespace kestrelvisor::bench
