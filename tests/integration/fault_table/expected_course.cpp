// How an operation ends when a request goes wrong, as hosts and managers were told it does. Nothing
// here comes from the engine: each function is one promise.

#include "tests/integration/fault_table/course.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace kestrelvisor::test {
namespace {

constexpr std::size_t kAttempts = 2;
constexpr int kGood = 200;
constexpr int kNotFound = 404;

constexpr const char* kSessionGone = "10000002";
constexpr const char* kWrongPassword = "10100103";
constexpr const char* kTaskReleased = "10300402";
constexpr const char* kNotToStopAt = "10100110";

// The error record of an operation. Empty texts change nothing.
struct Error {
  std::string code = "00000000";
  std::string text = "internal error.";

  void take(const std::string& newCode, const std::string& newText) {
    if (!newCode.empty()) code = newCode;
    if (!newText.empty()) text = newText;
  }
  // As a number it is 0: the operation goes on.
  bool stops() const { return code != kNotToStopAt; }
};

struct Client {
  std::size_t& sessions;
  bool anotherUsers = false;
};

std::string codeOf(CURLcode result) {
  if (result == CURLE_COULDNT_CONNECT) return "2000";
  return result == CURLE_OPERATION_TIMEDOUT ? "2001" : "2002";
}

// What the client reads after a failed attempt left something in front of the body: nothing that
// makes sense, or the first attempt's answer, which tells of no refusal.
Effect readBehind(Leftover leftover, Effect answer) {
  if (leftover == Leftover::part && answer.body != Body::none) answer.body = Body::unreadable;
  if (leftover == Leftover::whole) {
    answer.code.clear();
    answer.text.clear();
  }
  return answer;
}

bool isText(Body body) { return body != Body::none && body != Body::unreadable; }

const char* describeCredentials(const Error& error) {
  if (error.code == "10100101" || error.code == kWrongPassword) {
    return "Miss or input wrong KestrelVisor VRM username/password.";
  }
  constexpr std::array<std::string_view, 5> kUnreachable{"connectfailed", "1005", "404", "2000",
                                                         "2001"};
  if (std::ranges::find(kUnreachable, error.code) != kUnreachable.end()) {
    return "Can not connect to the specified KestrelVisor VRM.";
  }
  return "KestrelVisor Engine internal error.";
}

struct CbtStatus {
  std::string_view code;
  int status;
  const char* text;
};

constexpr CbtStatus kOtherCbtStatus{"", 97, "unknown error"};
constexpr std::array<CbtStatus, 7> kCbtStatuses{{
    {"10000004", 96, "KestrelVisor database operation failure"},
    {"10000008", 95, "KestrelVisor object does not exist"},
    {"10300427", 100, "Virtual Machine template does not support disabling CBT"},
    {"10300428", 101, "this type of Virtual Machine (link-cloned) does not support disabling CBT"},
    {"10430044", 98, "this type of datastore does not support disabling CBT"},
    {"10430045", 99, "KestrelVisor failed to disable CBT"},
    {"11000000", 97, "KestrelVisor internal error"},
}};

const CbtStatus& cbtStatusOf(const std::string& code) {
  const auto found = std::ranges::find(kCbtStatuses, code, &CbtStatus::code);
  return found == kCbtStatuses.end() ? kOtherCbtStatus : *found;
}

// The wire between engine and manager, as the row's fault bends it, and what is told of it.
class Wire {
 protected:
  // One request with its automatic repeat.
  struct Exchange {
    bool sent = false;
    Effect answer;
    std::string code;  // of the last failed attempt, also when the repeat worked
    std::string text;
  };

  Wire(const Row& row, const Site& site) : row_(row), site_(site) {}

  void warn(const std::string& text) { course_.lines.push_back("3 " + text); }
  void complain(const std::string& text) { course_.lines.push_back("4 " + text); }
  std::string urlOf(const SiteRequest& request) const { return site_.url + request.target; }

  Exchange exchange(const SiteRequest& request, const Effect& ordinary = works()) {
    Exchange made;
    Leftover leftover = Leftover::nothing;
    for (std::size_t i = 0; i < kAttempts; ++i) {
      made.answer = readBehind(leftover, attempt(request, ordinary));
      made.sent = made.answer.results.empty();
      if (made.sent) break;
      leftover = made.answer.leftover;
      made.code = codeOf(made.answer.results.front());
      made.text = textOf(made.answer.results.front());
      complain("Invoke sendMassage failed, error code is " + made.code + "(" + made.text + ")");
    }
    return made;
  }

  // The next logout is another session's.
  void beginLogout() { sessionEnded_ = false; }

  const Row& row_;
  const Site& site_;
  Course course_;

 private:
  bool struck(const SiteRequest& request) {
    if (row_.fault == nullptr) return false;
    if (row_.fault->strikes == Strikes::connection) {
      return course_.connections > row_.transfers &&
             course_.connections <= row_.transfers + row_.attempts;
    }
    return request == row_.kind->request && strikes_ < row_.attempts;
  }

  Effect strike() {
    const bool second = strikes_ > 0 && row_.fault->thenWords != nullptr;
    Effect effect = second ? row_.fault->thenEffect : row_.fault->effect;
    if (!second && strikes_ < row_.results.size()) effect.results = {row_.results[strikes_]};
    ++strikes_;
    return effect;
  }

  // The manager answers, unless the fault gets in first.
  Effect attempt(const SiteRequest& request, const Effect& ordinary) {
    ++course_.connections;
    const bool hit = struck(request);
    const bool read = !hit || row_.fault->strikes != Strikes::connection;
    const bool served = !hit || row_.fault->strikes == Strikes::answer;
    if (read) course_.requests.push_back(request.line());
    const Effect effect = served ? serve(request, ordinary) : works();
    return hit ? strike() : effect;
  }

  // A session that was ended cannot be ended again.
  Effect serve(const SiteRequest& request, const Effect& ordinary) {
    if (!(request == kLogout)) return ordinary;
    if (!std::exchange(sessionEnded_, true)) return ordinary;
    return refuses(401, kSessionGone, "The session does not exist or has expired.");
  }

  std::size_t strikes_ = 0;
  bool sessionEnded_ = false;  // the one that is being logged out
};

// Sessions and requests of the two clients.
class Requests : protected Wire {
 protected:
  Requests(const Row& row, const Site& site) : Wire(row, site) {
    own_.anotherUsers = row.kind->request == kLogout;
    own_.sessions = own_.anotherUsers ? 1 : 0;
  }

  void refuseWithoutBody(Exchange& made) {
    const bool notFound = made.answer.status == kNotFound;
    made.code = notFound ? "2404" : std::to_string(made.answer.status);
    made.text = notFound ? "404 Page not found" : "other error";
  }

  void refuseWithBody(Exchange& made) {
    made.code = isText(made.answer.body) ? made.answer.code : "";
    if (!isText(made.answer.body)) return complain("Parse Json string failed.");
    if (!made.answer.text.empty()) made.text = made.answer.text;
    if (made.code == kWrongPassword) {
      made.text =
          "User name or password is incorrect, or the user types is not the docking interface "
          "user.";
    }
  }

  void refuse(const std::string& function, Exchange& made) {
    made.answer.body == Body::none ? refuseWithoutBody(made) : refuseWithBody(made);
    const std::string what = made.code + "(" + made.text + ")";
    if (made.code == kTaskReleased) return warn("The task was released : " + what);
    complain("Invoke " + function + " failed, the error code is " + what);
  }

  bool readLogin(Exchange& made) {
    if (made.answer.body == Body::none) throw Thrown::loginWithoutBody;
    if (made.answer.body == Body::odd) throw Thrown::oddValue;
    if (made.answer.body == Body::ordinary) return made.answer.withToken;
    made.code = "1006";
    made.text = "The user does not have administrator privileges.";
    return false;
  }

  bool logIn(Client& client, Error& error) {
    Exchange made = exchange(kLogin, ordinaryLogin());
    made.text.clear();  // a login tells of a failed transfer by its code alone
    if (!made.sent) {
      complain("Send mssage to VRM failed, url=" + urlOf(kLogin));
    } else {
      const bool allowed = made.answer.status == kGood;
      const bool good = allowed && readLogin(made);
      if (!allowed) refuse("KestrelVisor_rest_api::logIn", made);
      client.sessions = good ? 1 : 0;
      if (good) return true;
      complain("Login failed, url=" + urlOf(kLogin));
    }
    error.take(made.code, made.text);
    complain("checkLoginAgainAndCert: logIn is failed,reason is " + made.code);
    return false;
  }

  // The manager refuses a login that names no version.
  Effect ordinaryLogin() const {
    if (versionKnown_) return works();
    return refuses(406, "10009003",
                   "The Accept header must name a version that the manager offers, found: "
                   "\"application/json;version=; charset=UTF-8\"");
  }

  // Whatever becomes of the request, the client forgets the session.
  void logOut(Client& client) {
    client.sessions = 0;
    beginLogout();
    Error dropped;
    Effect answer;
    send(kLogout, dropped, answer);
  }

  bool haveSession(Client& client, Error& error) {
    if (client.sessions == 1 && !client.anotherUsers) return true;
    if (client.sessions == 0) {
      warn("get token from map failed,vrmip: " + site_.address);
    } else {
      warn("The clientUsername is changed,vrmip: " + site_.address + ",name: " + site_.user);
      client.anotherUsers = false;
      logOut(client);
    }
    return logIn(client, error);
  }

  bool send(const SiteRequest& request, Error& error, Effect& answer) {
    Exchange made = exchange(request);
    const bool good = made.sent && made.answer.status == kGood;
    if (made.sent && !good) refuse("getResponse", made);
    error.take(made.code, made.text);
    if (!made.sent) {
      complain("Send mssage to VRM failed, url=" + urlOf(request));
    } else if (!good) {
      complain("Get response failed, url=" + urlOf(request));
    }
    answer = made.answer;
    return good;
  }

  // One new login and one repeat when the manager says that the session is gone.
  bool sendInSession(Client& client, const SiteRequest& request, Error& error, Effect& answer) {
    if (send(request, error, answer)) return true;
    if (error.code == kSessionGone) {
      client.sessions = 0;
      if (!haveSession(client, error)) {
        complain("checkLoginAgainAndCert failed");
        return false;
      }
      if (send(request, error, answer)) return true;
    }
    complain("sendMessageToVrmRetry failed");
    return false;
  }

  // A failed request ends the session; an unreadable answer does not.
  bool query(Client& client, const SiteRequest& request, const std::string& key, Error& error) {
    if (!haveSession(client, error)) {
      complain("checkLoginAgainAndCert failed ");
      return false;
    }
    Effect answer;
    if (!sendInSession(client, request, error, answer)) {
      logOut(client);
      return false;
    }
    if (!isText(answer.body)) {
      complain("getJSonObjFromJsonStr: parse the string is faild!");
      return false;
    }
    if (answer.body == Body::odd) throw Thrown::oddValue;
    if (answer.body == Body::withoutKeys && !key.empty()) {
      complain("getJSonObjFromJsonStr:get root[\"" + key + "\"] is null!");
      return false;
    }
    return true;
  }

  // Neither kind of failure ends the session; the error stays here.
  bool queryDatastores(const SiteRequest& request) {
    Error dropped;
    Effect answer;
    if (!haveSession(shared_, dropped)) return false;
    if (!sendInSession(shared_, request, dropped, answer)) return false;
    if (answer.body == Body::odd) throw Thrown::oddValue;
    if (!isText(answer.body)) complain("Failed to parse the JSON string");
    return isText(answer.body);
  }

  Client own_{course_.ownSessions};
  Client shared_{course_.sharedSessions};
  bool versionKnown_ = true;
};

// The operations, query by query.
class Telling : private Requests {
 public:
  Telling(const Row& row, const Site& site) : Requests(row, site) {}

  Course course() {
    try {
      operate();
    } catch (Thrown thrown) {
      course_.thrown = thrown;
    }
    return course_;
  }

 private:
  void operate() {
    switch (row_.kind->operation) {
      case Operation::verify:
        return verify();
      case Operation::scan:
        return scan();
      case Operation::disable:
        return disable();
    }
  }

  bool readVersions(const Exchange& made) {
    versionKnown_ = made.answer.body == Body::ordinary;
    if (made.answer.body == Body::odd) throw Thrown::oddValue;
    if (made.answer.body == Body::withoutKeys) warn("The versions size is 0 !");
    if (isText(made.answer.body)) return true;
    complain("Failed to parse the disksInfo string !");
    complain("Get support max rest version failed, url=" + urlOf(kVersions));
    return false;
  }

  bool negotiate() {
    Exchange made = exchange(kVersions);
    const bool good = made.sent && made.answer.status == kGood;
    if (good) return readVersions(made);
    versionKnown_ = false;
    if (!made.sent) {
      complain("Send message to VRM failed, url=" + urlOf(kVersions));
    } else {
      made.text.clear();  // what an attempt before this one left
      refuse("getResponse", made);
      complain("Parse return information failed, url=" + urlOf(kVersions));
    }
    error_.take(made.code, made.text);
    return false;
  }

  bool prepare() {
    if (!negotiate()) {
      complain("Query the protected environment REST version failed, reason:" + error_.text);
      return !error_.stops();
    }
    if (!query(own_, kSites, "sites", error_)) {
      complain("Get VRM information failed !");
      return !error_.stops();
    }
    return true;
  }

  void fail(const std::string& line, int status, const std::string& detail,
            const std::string& joint) {
    complain(line);
    course_.status = status;
    course_.detail = {detail, error_.text + joint + error_.code + ".", "", ""};
  }

  void verify() {
    const auto failed = [this](const char* line) {
      fail(line, 107, "20086", " The error code is ");
    };
    if (!prepare()) return failed(" Get VRM information failed !");
    if (query(shared_, kSites, "sites", error_)) {
      course_.description = "OK";
      return;
    }
    error_.text = describeCredentials(error_);
    if (error_.stops()) return failed(" Verify Credentials failed !");
    course_.description = error_.text;
  }

  // As query, with the line of whoever asked.
  bool list(const SiteRequest& request, const std::string& key, const std::string& line) {
    if (query(shared_, request, key, error_)) return true;
    complain(line);
    return false;
  }

  bool listClusters() {
    if (!list(kClusters, "clusters", "Failed to get cluster jsonObj")) return false;
    if (queryDatastores(kDatastoresOfCluster)) return true;
    complain("Failed to query the Data Stores");
    return false;
  }

  bool listHosts(const SiteRequest& request) {
    return list(request, "hosts", "Failed to get cna jsonObj");
  }

  bool countMachines(const SiteRequest& request) {
    return list(request, "total", "Failed to get vm jsonObj");
  }

  bool listMachines() {
    if (!list(kPageOnHost, "vms", "Failed to get vm jsonObj")) {
      complain("Failed to get vms info from KestrelVisor");
      return false;
    }
    Error dropped;  // a failed lookup costs only the disk's external identifier
    if (!query(shared_, kDiscovery, "volumes", dropped)) complain("Failed to get vm jsonObj");
    return true;
  }

  bool growTree() {
    const bool first = list(kOsVersions, "", "Failed to get OS List");
    const bool second = list(kOsVersionsOnArm, "", "Failed to get OS List");
    return first && second && listClusters() && listHosts(kHostsOutside) &&
           queryDatastores(kDatastoresOfHost) && listHosts(kHostsOfCluster) &&
           countMachines(kCountOnCluster) && countMachines(kCountOnHost) && listMachines();
  }

  void scan() {
    const auto failed = [this](const char* line) {
      fail(line, 104, "20111", "The error code is ");
    };
    if (!prepare()) return failed(" Get VRM information failed !");
    const bool grown = growTree();
    course_.description = error_.text;
    if (!grown) return failed(" Scan Environment failed !");
    course_.detail = {"20063", "1", "3", ""};
  }

  void disable() {
    if (!prepare()) {
      complain("Get VRM Info error! VRM_IP=[" + site_.address + "]");
      complain("Get VRM Info error!");
      course_.status = 1;
      return;
    }
    course_.description.clear();
    error_ = Error();
    Effect answer;
    if (haveSession(shared_, error_) && sendInSession(shared_, kCbt, error_, answer)) return;
    complain("Failed to disable CBT for VM with url: " + urlOf(kCbt) +
             ", and with error code: " + error_.code);
    complain(std::string("Failed to disable the CBT for VM with uri: ") + kMachine +
             ", and with error code: " + error_.code);
    course_.status = cbtStatusOf(error_.code).status;
    course_.description = cbtStatusOf(error_.code).text;
  }

  Error error_;
};

}  // namespace

std::string textOf(CURLcode result) {
  std::string text = curl_easy_strerror(result);
  if (!text.empty() && text.back() != '.') text += '.';
  return text;
}

Course expectedCourse(const Row& row, const Site& site) { return Telling(row, site).course(); }

std::size_t transfersBefore(const RequestKind& kind, const Site& site) {
  const Course clean = expectedCourse({&kind, nullptr, 0, 0}, site);
  const auto first = std::ranges::find(clean.requests, kind.request.line());
  return static_cast<std::size_t>(first - clean.requests.begin());
}

}  // namespace kestrelvisor::test
