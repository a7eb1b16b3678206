#pragma once

#include "kestrelctl/manager_address.h"
#include "kestrelctl/password_source.h"

#include <optional>
#include <string>

namespace kestrelvisor::ctl {

// How to reach a manager, and as whom.
struct ConnectionOptions {
  ManagerAddress manager;
  std::string user;
  PasswordSource password;
  std::string certificateFile;    // empty: the system's trust store
  std::optional<bool> strictTls;  // nothing: what the configuration file says
  bool keepAddress = false;       // replace what the manager reports by the host that was named
  bool followAddress = false;     // let the manager report any address
  bool useEnvironment = false;    // obey the variables of libcurl and OpenSSL
};

struct LogSettings {
  std::optional<int> level;  // nothing: none on the terminal, 1 and above in a file
  std::string file;          // empty: standard error
};

enum class ReplyFormat { tree, json };

struct ScanOptions {
  ReplyFormat format = ReplyFormat::tree;
  std::string saveFile;        // empty: the reply is not kept
  std::string testerDumpFile;  // empty: the dump is dropped
};

struct EncryptOptions {
  PasswordSource password;
  std::string newKeyFile;  // empty: the key comes from the environment
};

struct DemoOptions {
  std::string vrmsim;     // empty: beside our own executable
  std::string inventory;  // empty: the sample site
  std::string saveFile = "kestrelvisor-demo-reply.pb";
};

enum class Command { verify, scan, disableCbt, encryptPassword, demo, version };

// One call of kestrelctl; what does not belong to its command has its defaults.
struct Invocation {
  Command command = Command::version;
  ConnectionOptions connection;
  LogSettings log;
  ScanOptions scan;
  std::string machineUri;
  EncryptOptions encrypt;
  DemoOptions demo;
};

}  // namespace kestrelvisor::ctl
