// Results of libcurl. Its own words are the titles; what they mean for a request to a manager goes
// by groups.

#include "kestrelctl/explanations/tables.h"

#include <curl/curl.h>

#include <array>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kTransfer = "any request: the transfer, after one repetition (code 2002)";
constexpr const char* kTls = "the start of a connection over HTTPS (code 2002)";
constexpr const char* kNowhere = "nowhere: no request to a manager gives it";

// What a group of results has in common.
struct Group {
  const char* cause;
  const char* step;
  const char* remedy;
  Retry retry;
  ExitCode exitCode = ExitCode::unreachable;
};

constexpr Group kSuccess{"the transfer worked; what the answer says is another matter",
                         "any request", "nothing", Retry::no};
constexpr Group kUrl{
    "the URL cannot be used: its scheme or form is wrong, or it leads to a server that is not "
    "allowed",
    kTransfer, "check --manager; the log names a server that was refused", Retry::no};
constexpr Group kName{"no address is known for the host's name", kTransfer,
                      "check the name in --manager, and whether this machine can look it up",
                      Retry::yes};
constexpr Group kProxy{"the proxy that the environment names cannot be found or does not work",
                       "any request with --use-environment (code 2002)",
                       "check http_proxy, https_proxy and all_proxy, or leave out "
                       "--use-environment",
                       Retry::yes};
constexpr Group kConnect{
    "nobody listens at address and port, or something between refuses the "
    "connection",
    "any request: the connection (code 2000)", kAddressRemedy, Retry::yes};
constexpr Group kTime{"no connection within 10 seconds, or no whole answer within 600",
                      "any request: the connection or the answer (code 2001)", kLoadRemedy,
                      Retry::yes, ExitCode::timeLimit};
constexpr Group kCut{"the connection broke before the answer was complete", kTransfer,
                     "try again; look at the network between, and at the manager's log",
                     Retry::yes};
constexpr Group kNotHttp{"what answers does not speak HTTP as it should", kTransfer,
                         "check that scheme and port belong to a manager", Retry::no};
constexpr Group kMemory{"this machine has no memory left for it", kTransfer,
                        "end other programs, or give this one more memory", Retry::yes};
constexpr Group kHandshake{"the two sides found no way to speak TLS with each other", kTls,
                           "check that the port speaks HTTPS, with TLS 1.2 or newer", Retry::no};
constexpr Group kCertificate{
    "the certificate has expired, belongs to another name, or nobody who is trusted has signed it",
    kTls, kCertificateRemedy, Retry::no, ExitCode::refusedCertificate};
constexpr Group kCertificateFile{"the certificates that are to be trusted cannot be used", kTls,
                                 "check the file of --ca-cert: it must hold certificates in PEM",
                                 Retry::no, ExitCode::refusedCertificate};
constexpr Group kClientCertificate{
    "the server wants a certificate of the client, and none is sent", kTls,
    "have the manager, or the proxy in front of it, take clients without one", Retry::no};
constexpr Group kSetup{"libcurl could not be used as it was meant to be", kTransfer,
                       "check that the installed libcurl is the distribution's own", Retry::no};
constexpr Group kOtherUse{
    "it belongs to another protocol or to a function of libcurl that is not used here", kNowhere,
    "check that the installed libcurl is the distribution's own", Retry::no};
constexpr Group kUnused{"no version of libcurl that fits gives it", kNowhere,
                        "check that the installed libcurl is the distribution's own", Retry::no};

struct Members {
  const Group* group;
  std::vector<int> results;
};

// Every result stands in one of them.
std::vector<Members> membersOfGroups() {
  return {
      {&kSuccess, {CURLE_OK}},
      {&kUrl, {CURLE_UNSUPPORTED_PROTOCOL, CURLE_URL_MALFORMAT}},
      {&kProxy, {CURLE_COULDNT_RESOLVE_PROXY, CURLE_PROXY}},
      {&kName, {CURLE_COULDNT_RESOLVE_HOST}},
      {&kConnect, {CURLE_COULDNT_CONNECT}},
      {&kTime, {CURLE_OPERATION_TIMEDOUT}},
      {&kCut, {CURLE_PARTIAL_FILE, CURLE_GOT_NOTHING, CURLE_SEND_ERROR, CURLE_RECV_ERROR}},
      {&kNotHttp,
       {CURLE_WEIRD_SERVER_REPLY, CURLE_HTTP2, CURLE_BAD_CONTENT_ENCODING, CURLE_HTTP2_STREAM,
        CURLE_TOO_MANY_REDIRECTS}},
      {&kMemory, {CURLE_OUT_OF_MEMORY}},
      {&kHandshake,
       {CURLE_SSL_CONNECT_ERROR, CURLE_SSL_CIPHER, CURLE_USE_SSL_FAILED,
        CURLE_SSL_SHUTDOWN_FAILED}},
      {&kCertificate,
       {CURLE_PEER_FAILED_VERIFICATION, CURLE_SSL_ISSUER_ERROR, CURLE_SSL_PINNEDPUBKEYNOTMATCH,
        CURLE_SSL_INVALIDCERTSTATUS}},
      {&kCertificateFile, {CURLE_SSL_CACERT_BADFILE, CURLE_SSL_CRL_BADFILE}},
      {&kClientCertificate, {CURLE_SSL_CERTPROBLEM, CURLE_SSL_CLIENTCERT}},
      {&kSetup,
       {CURLE_FAILED_INIT, CURLE_NOT_BUILT_IN, CURLE_WRITE_ERROR, CURLE_READ_ERROR,
        CURLE_FUNCTION_NOT_FOUND, CURLE_ABORTED_BY_CALLBACK, CURLE_BAD_FUNCTION_ARGUMENT,
        CURLE_INTERFACE_FAILED, CURLE_UNKNOWN_OPTION, CURLE_SETOPT_OPTION_SYNTAX,
        CURLE_SSL_ENGINE_NOTFOUND, CURLE_SSL_ENGINE_SETFAILED, CURLE_SEND_FAIL_REWIND,
        CURLE_SSL_ENGINE_INITFAILED, CURLE_AGAIN, CURLE_NO_CONNECTION_AVAILABLE,
        CURLE_RECURSIVE_API_CALL, CURLE_UNRECOVERABLE_POLL}},
      {&kOtherUse,
       {CURLE_REMOTE_ACCESS_DENIED,
        CURLE_FTP_ACCEPT_FAILED,
        CURLE_FTP_WEIRD_PASS_REPLY,
        CURLE_FTP_ACCEPT_TIMEOUT,
        CURLE_FTP_WEIRD_PASV_REPLY,
        CURLE_FTP_WEIRD_227_FORMAT,
        CURLE_FTP_CANT_GET_HOST,
        CURLE_FTP_COULDNT_SET_TYPE,
        CURLE_FTP_COULDNT_RETR_FILE,
        CURLE_QUOTE_ERROR,
        CURLE_HTTP_RETURNED_ERROR,
        CURLE_UPLOAD_FAILED,
        CURLE_FTP_PORT_FAILED,
        CURLE_FTP_COULDNT_USE_REST,
        CURLE_RANGE_ERROR,
        CURLE_HTTP_POST_ERROR,
        CURLE_BAD_DOWNLOAD_RESUME,
        CURLE_FILE_COULDNT_READ_FILE,
        CURLE_LDAP_CANNOT_BIND,
        CURLE_LDAP_SEARCH_FAILED,
        CURLE_FILESIZE_EXCEEDED,
        CURLE_LOGIN_DENIED,
        CURLE_TFTP_NOTFOUND,
        CURLE_TFTP_PERM,
        CURLE_REMOTE_DISK_FULL,
        CURLE_TFTP_ILLEGAL,
        CURLE_TFTP_UNKNOWNID,
        CURLE_REMOTE_FILE_EXISTS,
        CURLE_TFTP_NOSUCHUSER,
        CURLE_REMOTE_FILE_NOT_FOUND,
        CURLE_SSH,
        CURLE_FTP_PRET_FAILED,
        CURLE_RTSP_CSEQ_ERROR,
        CURLE_RTSP_SESSION_ERROR,
        CURLE_FTP_BAD_FILE_LIST,
        CURLE_CHUNK_FAILED,
        CURLE_AUTH_ERROR,
        CURLE_HTTP3,
        CURLE_QUIC_CONNECT_ERROR}},
      // Numbers without a name, or with one that changes from version to version.
      {&kUnused, {20, 24, 29, 32, 40, 44, 46, 50, 51, 57, 62, 75, 76}},
  };
}

// The codes' texts live in here; they are made once.
std::array<std::string, CURL_LAST>& codeTexts() {
  static std::array<std::string, CURL_LAST> texts;
  return texts;
}

using Groups = std::array<const Group*, CURL_LAST>;

// By results; null where no group has one.
const Groups& groupsOfResults() {
  static const Groups groups = [] {
    Groups made{};
    for (const Members& members : membersOfGroups()) {
      for (const int result : members.results)
        made[static_cast<std::size_t>(result)] = members.group;
    }
    return made;
  }();
  return groups;
}

std::vector<Explanation> makeTable() {
  std::vector<Explanation> table;
  for (std::size_t result = 0; result < groupsOfResults().size(); ++result) {
    const Group* const group = groupsOfResults()[result];
    if (group == nullptr) continue;
    codeTexts()[result] = std::to_string(result);
    const char* const words = curl_easy_strerror(static_cast<CURLcode>(result));
    table.push_back({CodeKind::curl, codeTexts()[result].c_str(),
                     group == &kUnused ? "not in use" : words, group->cause, group->step,
                     group->remedy, group->retry, group != &kSuccess});
  }
  return table;
}

}  // namespace

const std::vector<Explanation>& curlTable() {
  static const std::vector<Explanation> table = makeTable();
  return table;
}

ExitCode exitCodeOf(const Explanation& transfer) {
  return groupsOfResults()[std::stoul(transfer.code)]->exitCode;
}

}  // namespace kestrelvisor::ctl
