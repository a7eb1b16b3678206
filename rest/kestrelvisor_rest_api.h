#pragma once

#include "base/error_message.h"
#include "rest/session_types.h"

#include <boost/shared_ptr.hpp>
#include <curl/curl.h>
#include <json/forwards.h>

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <string>

struct ST_DATASTORE_INFO;
struct VM_DETAIL;
class VMInfoForTreeView;
class VM_INFO;
enum EN_DATASTORAGE_TYPE : std::int32_t;

using datastores_t = std::list<boost::shared_ptr<ST_DATASTORE_INFO>>;

// The REST client of one kind of manager.
//
// Holds one session for each manager address and ends them all when it is destroyed, one DELETE
// each. Every exchange uses a handle and a connection of its own. One thread at a time may use an
// object.
//
// Functions report by their result; error records and code texts say why. What a function reads
// from a good answer may have the wrong type: then Json::Exception leaves it. std::bad_alloc may
// leave any of them. In each case handles, lists and buffers are freed and the next call works.
class KestrelVisor_rest_api {
 public:
  // Makes sure that libcurl is initialised, so that the library is still there when the destructor
  // logs out at process exit.
  KestrelVisor_rest_api();

  // Logs out every session of the cache, in the order of the addresses. Lets no exception out.
  ~KestrelVisor_rest_api();

  // A copy would end the same sessions a second time.
  KestrelVisor_rest_api(const KestrelVisor_rest_api&) = delete;
  KestrelVisor_rest_api& operator=(const KestrelVisor_rest_api&) = delete;

  // --- The virtual operations; their order is part of the interface. ---

  // Reads one element of a "vms" list in detail form. detail has been reset before.
  //
  // Returns false, with detail untouched, when the text cannot be parsed. Keys that are missing
  // read as empty, 0 or false. Throws Json::Exception for a key of the wrong type.
  virtual bool getVMDetail(const std::string& json, VM_DETAIL* detail);

  // Switches changed-block tracking off on one machine, by one request. vmUri begins with "/".
  //
  // Every answer 200 counts as success. On failure err holds the code and text.
  virtual bool disableVmCbt(VRM_INFO& vrm, const std::string& vmUri, KestrelVisorErrorMessage& err);

  // Makes the record's REST version the one of this client and returns it as a number.
  virtual double getAPIVersion(const VRM_INFO& vrm, KestrelVisorErrorMessage& err);

  // Value of a hexadecimal digit, upper case only; -1 for anything else.
  virtual int my_atoi(char c);

  // Takes the last positive entry of a version answer, without its first character. version stays
  // as it is when there is none.
  //
  // Returns false when the text cannot be parsed. Throws std::out_of_range for an empty version
  // text.
  virtual bool getSupportMaxRestVersion(const std::string& body, std::string& version);

  // --- Assembling one exchange. void* is a libcurl easy handle. ---

  std::string getProtocolVersion();
  std::string getProtocolCharset();
  std::string getProtocolLanguage();

  // Header texts.
  std::string getAuthToken(const KestrelVisorCertToken& token);
  std::string getLanguage();
  std::string getAccept(const VRM_INFO& vrm);
  std::string getAccept();
  std::string getAcceptWithoutVersion();
  std::string getVersionAndCharset();
  std::string getContentType();
  std::string getContentTypeWithVersion();

  // Set the headers of an authenticated request or of a login on the handle. The caller owns the
  // returned list, which must outlive the transfer; null when there was no memory.
  curl_slist* setCurlHeader(const KestrelVisorCertToken& token, void* curl, const VRM_INFO& vrm);
  curl_slist* setCurlLoginHeader(const KestrelVisorCertToken& token, void* curl,
                                 const VRM_INFO& vrm, const std::string& passwordDigest);

  void* initCurl();  // null when there was no memory; the caller owns the handle
  void setCurlTimeOut(void* curl);
  void setCurlUrl(void* curl, const std::string& url);
  // body must outlive the transfer.
  void setCurlSendMethod(const SEND_METHOD& method, void* curl, const std::string& body);
  // Empties chunk, which must outlive the transfer, and collects the answer's body in it.
  void setCurlResponse(void* curl, MemoryStruct& chunk);
  // Assembles an authenticated request. The caller owns curl and headers, each of which may be
  // null. When an exception leaves it, both are as they were.
  void openCurl(VRM_INFO& vrm, const KestrelVisorCertToken& token, const SEND_METHOD& method,
                const std::string& url, const std::string& body, void*& curl, curl_slist*& headers);
  // Frees handle and list and sets both to null.
  void closeCurl(void*& curl, curl_slist*& headers);
  // The session URL: https for type 1, http for any other.
  void constructURLCurl(std::string& url, std::string ip, int port, unsigned int type);
  // A credential header: the user for type 1, the password digest for any other.
  void constructCredentialCurl(std::string& header, std::string value, unsigned int type);
  // libcurl's write and header callback. Always takes everything, so that libcurl never ends a
  // transfer for want of memory; chunk.memory is then null.
  static std::size_t writeMemoryCallback(char* source, std::size_t itemSize, std::size_t itemCount,
                                         void* chunk);

  // --- One exchange and its outcome. ---

  // Performs a transfer, and once more when it fails. After a refused certificate the second
  // attempt goes unverified if the host's switch allows.
  //
  // On false with a handle, both handle and list have been freed; errorCode and errorMsg tell about
  // the last attempt. A null handle frees nothing.
  bool sendMassage(const VRM_INFO& vrm, void* curl, curl_slist* headers, std::string& errorCode,
                   std::string& errorMsg);
  // Maps a failed transfer to a code and a message.
  void processPerformNotOK(const VRM_INFO& vrm, void* curl, curl_slist* headers,
                           const char* funcName, CURLcode result, std::string& errorCode,
                           std::string& errorMsg);
  // Takes the body of a completed transfer; false for any status but 200.
  bool getResponse(void* curl, curl_slist* headers, MemoryStruct& chunk, std::string& response,
                   std::string& errorCode, std::string& errorMsg);
  // Maps an answer that is not 200 to a code and a message.
  void processReponseCodeNOK(const char* funcName, MemoryStruct chunk, std::string httpCode,
                             std::string& errorCode, std::string& errorMsg);
  // Returns the manager's code from an error body, or an empty text; errorMsg gets its text, if
  // any.
  std::string getLoginErrorCode(std::string body, std::string& errorMsg);
  void getSendErrorCode(MemoryStruct chunk, std::string httpCode, std::string& errorCode,
                        const char* funcName);
  // Find the value of a header, whose name carries its colon and is compared to the letter, in a
  // header block or in one line of it. 0 found, -1 not found. The key "status_code" appends the
  // status of the block.
  int parse_response_header(std::string& headers, std::string& key, std::string& value);
  int httpParseLine(std::string& line, std::string& key, std::string& value);
  // Copies the text as it is; always true.
  bool getJsonObjAsString(const std::string& source, std::string& target);
  // Exactly one exchange. err is written after a good one too, when its first attempt failed.
  bool sendMessageToVrm(VRM_INFO& vrm, const KestrelVisorCertToken& token,
                        const SEND_METHOD& method, const std::string& url, const std::string& body,
                        std::string& response, KestrelVisorErrorMessage& err);

  // --- REST version, login, token cache. ---

  // Asks the manager, without credentials, for its REST versions.
  //
  // Throws Json::Exception and std::out_of_range as getSupportMaxRestVersion does.
  bool getKestrelVisorSupportRestVersion(VRM_INFO& vrm, std::string& version,
                                         KestrelVisorErrorMessage& err);
  // Opens a session; vrm.clientPassword is plaintext. Throws std::logic_error for an answer 200
  // without a body.
  bool logIn(VRM_INFO& vrm, std::string& httpCode, std::string& errorCode,
             KestrelVisorCertToken& token, std::string& errorMsg);
  // Reads roles and validity; false when no role allows backups or the body lacks either.
  bool chkUserRole(std::string body, KestrelVisorCertToken& token);
  bool processLoginReponseCodeOK(const std::string& header, const std::string& body,
                                 std::string& errorCode, std::string& errorMsg,
                                 KestrelVisorCertToken& token);
  // Ends the session that the token names. first is emptied, third is not used.
  bool logOut(VRM_INFO& vrm, std::string& first, std::string& errorCode, std::string& third,
              KestrelVisorCertToken& token);
  // Forgets the address's session and ends the one of the token, if it has one; the token is reset.
  void logoutFromKestrelVisor(VRM_INFO& vrm, KestrelVisorCertToken& token);
  // Ends a session for the destructor: cache and token stay.
  bool logOutFromVrm(VRM_INFO& vrm, const KestrelVisorCertToken& token);
  // The single way to a token: from the cache if it is good enough, else by a login.
  //
  // vrm holds the encrypted password. After a failed decryption err is as it was. Throws
  // std::logic_error as logIn does, and std::runtime_error when the clock cannot be converted.
  bool checkLoginAgainAndCert(const VRM_INFO& vrm, KestrelVisorErrorMessage& err,
                              KestrelVisorCertToken& token);
  // Finds the address's token; vrm.clientPassword is plaintext. After a change of user or password
  // the result is false, but token holds the old session.
  bool getTokenFromMap(const VRM_INFO& vrm, KestrelVisorCertToken& token);
  // Seconds since 1970 (UTC), despite its name.
  std::uint64_t getLocalTime();

  // --- Authenticated requests. Those that send throw what checkLoginAgainAndCert throws. ---

  // As sendMessageToVrmRetry, without the response.
  bool sendMessageToVrm(VRM_INFO& vrm, const KestrelVisorCertToken& token,
                        const SEND_METHOD& method, const std::string& url, const std::string& body,
                        KestrelVisorErrorMessage& err);
  // One exchange; when the manager says that the session is gone, one login and one repeat.
  bool sendMessageToVrmRetry(VRM_INFO& vrm, const KestrelVisorCertToken& token,
                             const SEND_METHOD& method, const std::string& url,
                             const std::string& body, std::string& response,
                             KestrelVisorErrorMessage& err);
  // GETs a path of the manager. root takes the whole document; a key that is not empty must be in
  // it and not be null. A failed request ends the session.
  bool getJSonObjFromKestrelVisor(VRM_INFO& vrm, const std::string& uri, const std::string& key,
                                  KestrelVisorErrorMessage& err, Json::Value& root);
  // The same with a text that is there already. Throws std::bad_alloc alone.
  bool getJSonObjFromJsonStr(const std::string& key, const std::string& text, Json::Value& root);
  // "/service/sites/1/vms/2" is "urn:sites:1:vms:2". The heads are replaced by length alone.
  std::string uriToUrn(const std::string& uri);
  std::string urnToUri(const std::string& urn);

  // --- Inventory. vrm.uri and vrm.urn are the site's. ---

  // Lists the sites that the manager knows. With onlySelf out holds the first one that it serves
  // itself, or none. The records hold no credentials. On false out stays as it was.
  bool getAllVRMsInfoInADomain(VRM_INFO& vrm, bool onlySelf, std::list<VRM_INFO>& out,
                               KestrelVisorErrorMessage& error);
  // One authenticated query, which proves that the credentials are good.
  bool verifyAuth(VRM_INFO& vrm, KestrelVisorErrorMessage& err);
  // Lists the clusters of the site that vrm.uri names.
  //
  // Appends one CLUSTER_INFO for each element of "clusters", in the manager's order, to out, which
  // need not be empty. The objects are shared with whoever keeps out.
  //
  // Returns false when one of the requests fails. Clusters appended before that stay in out. error
  // holds the failed request's code and text; a failed datastore query leaves it as it was.
  bool getClusterFromVrm(VRM_INFO& vrm, std::list<boost::shared_ptr<KestrelVisorObj>>& out,
                         KestrelVisorErrorMessage& error);
  // Lists hosts as CNA_INFO, likewise: of the whole site for an empty scope, else of the cluster
  // whose URN scope is; "default" names those without a cluster. Hosts share the records of their
  // datastores while the manager repeats its answer about those to the byte.
  bool getCnaFromVrm(VRM_INFO& vrm, const std::string& scope,
                     std::list<boost::shared_ptr<KestrelVisorObj>>& out,
                     KestrelVisorErrorMessage& error);
  // Append the supported datastores of a cluster or host. errorCode receives the REST layer's code,
  // or "00000000".
  bool getDataStoreOfCluster(VRM_INFO& vrm, const std::string& clusterUrn, datastores_t& out,
                             std::string& errorCode);
  bool getDataStoreOfCna(VRM_INFO& vrm, const std::string& cnaUrn, datastores_t& out,
                         std::string& errorCode);
  // Reads a datastore list. The text's "total" says how many; where the list is shorter, records
  // are made of nothing.
  bool toDataStores(const std::string& json, datastores_t& out);
  bool getDatastoreInfo(const std::string& json, ST_DATASTORE_INFO& ds);
  // Always true: a type that is not known becomes "not supported".
  bool setDatastoreType(const std::string& text, EN_DATASTORAGE_TYPE& type);
  // Appends a datastore unless its type is not supported.
  void addDatastore(const boost::shared_ptr<ST_DATASTORE_INFO>& ds, datastores_t& out);
  // Lists the machines whose location is the scope as VM_INFO, templates and linked clones left
  // out.
  //
  // On false the machines of earlier pages stay in result.
  bool getVMFromVrm(VRM_INFO& vrm, const std::string& scope,
                    std::list<boost::shared_ptr<KestrelVisorObj>>& result,
                    KestrelVisorErrorMessage& error);
  bool getVmInfoFromVrmSub(VRM_INFO& vrm, const std::string& scope,
                           std::list<boost::shared_ptr<VM_INFO>>& page, const std::string& query,
                           KestrelVisorErrorMessage& error);
  // Looks up the external identifiers of a machine's disks. Failures cost only those.
  void getDiskDetailInfoFromVrm(VRM_INFO& vrm, VM_DETAIL& detail);
  // Fetches the guest systems, family to number to description: the default list, then the Arm list
  // over it. False when either failed; the map keeps what came.
  bool getOSListFromVrm(VRM_INFO& vrm, std::map<std::string, std::map<int, std::string>>& osMap,
                        KestrelVisorErrorMessage& err);
  bool getOSListfromVrmByArch(VRM_INFO& vrm,
                              std::map<std::string, std::map<int, std::string>>& osMap,
                              KestrelVisorErrorMessage& err, unsigned int arch);
  // Looks a description up; false with an empty osDes when there is none. A miss adds an empty
  // entry to the map. message is emptied.
  bool getOSDesFromOSList(std::map<std::string, std::map<int, std::string>>& osMap,
                          const std::string& osType, const int& osVersion, std::string& osDes,
                          std::string& message);
  // Projects a machine to what a backup may see of it; false when its uuid is not one.
  bool getTreeViewVMInfoFromVrm(const VM_DETAIL& detail, VMInfoForTreeView& view,
                                KestrelVisorErrorMessage& error);
  bool checkUUID(const std::string& uuid);

  std::string protocolVersion;                       // REST version in version-bearing headers
  std::string protocolCharset;                       // never changed
  std::string protocolLanguage;                      // never changed
  std::map<std::string, VRMCertTokenInfo> tokenMap;  // by manager address
};
