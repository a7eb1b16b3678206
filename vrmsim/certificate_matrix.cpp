#include "vrmsim/certificate_matrix.h"

#include "vrmsim/certificate_builder.h"

#include <openssl/objects.h>

#include <array>
#include <initializer_list>
#include <stdexcept>
#include <utility>

namespace kestrelvisor::vrmsim {
namespace {

constexpr const char* kRootName = "vrmsim root";

// What an authority's certificate says. pathLength is how many authorities may stand below it, as
// ",pathlen:0"; empty: any number.
CertificateContent authorityContent(const char* name, const std::string& pathLength = {}) {
  CertificateContent content;
  content.commonNames = {name};
  content.extensions = {{NID_basic_constraints, "critical,CA:TRUE" + pathLength},
                        {NID_key_usage, "critical,keyCertSign,cRLSign"}};
  return content;
}

// What a good server certificate says. No key identifiers stand in it: an issuer is found by its
// name, and only the signature tells whether it is the right one.
CertificateContent serverContent(const std::string& names) {
  CertificateContent content;
  content.commonNames = {"vrmsim"};
  content.extensions = {{NID_basic_constraints, "critical,CA:FALSE"},
                        {NID_key_usage, "critical,digitalSignature"},
                        {NID_ext_key_usage, "serverAuth"}};
  if (!names.empty()) content.extensions[NID_subject_alt_name] = names;
  return content;
}

Party makeRoot(const char* name = kRootName) {
  return certify(authorityContent(name), makeCurveKey(), nullptr);
}

Party makeIntermediate(const Party& root, const CertificateContent& content) {
  return certify(content, makeCurveKey(), &root);
}

Party makeIntermediate(const Party& root) {
  return makeIntermediate(root, authorityContent("vrmsim intermediate"));
}

// Serves the certificates as they are listed, the server's own first.
TlsIdentity served(std::initializer_list<const Party*> chain, const Party& trusted) {
  TlsIdentity identity;
  for (const Party* party : chain) identity.chainPem += certificateText(*party);
  identity.privateKeyPem = keyText(**chain.begin());
  identity.trustedPem = certificateText(trusted);
  return identity;
}

TlsIdentity signedByRoot(const CertificateContent& content, OwnedKey key = makeCurveKey()) {
  const Party root = makeRoot();
  const Party server = certify(content, std::move(key), &root);
  return served({&server}, root);
}

TlsIdentity signedByIntermediate(const CertificateContent& server,
                                 const CertificateContent& intermediate) {
  const Party root = makeRoot();
  const Party issuer = makeIntermediate(root, intermediate);
  const Party end = certify(server, makeCurveKey(), &issuer);
  return served({&end, &issuer}, root);
}

TlsIdentity withOldVersion(TlsVersion version, const std::string& bindAddress) {
  TlsIdentity identity = signedByRoot(serverContent(alternativeNames(bindAddress)));
  identity.oldestVersion = version;
  identity.newestVersion = version;
  identity.takesWeakCryptography = true;
  return identity;
}

TlsIdentity makeExpired(const std::string& bindAddress) {
  CertificateContent content = serverContent(alternativeNames(bindAddress));
  content.validFromDay = -60;
  content.validUntilDay = -30;
  return signedByRoot(content);
}

TlsIdentity makeNotYetValid(const std::string& bindAddress) {
  CertificateContent content = serverContent(alternativeNames(bindAddress));
  content.validFromDay = 30;
  content.validUntilDay = 60;
  return signedByRoot(content);
}

TlsIdentity makeWrongName(const std::string&) {
  return signedByRoot(serverContent("DNS:elsewhere.example"));
}

TlsIdentity makeWrongAddress(const std::string&) {
  return signedByRoot(serverContent("IP:192.0.2.1,IP:2001:db8::1"));
}

// The last common name is the one that a client reads who still reads any.
TlsIdentity makeSubjectNameOnly(const std::string& bindAddress) {
  CertificateContent content = serverContent({});
  content.commonNames = {"localhost", bindAddress};
  return signedByRoot(content);
}

TlsIdentity signedByStranger(const char* rootName, const std::string& bindAddress) {
  const Party trusted = makeRoot();
  const Party stranger = makeRoot(rootName);
  const Party server =
      certify(serverContent(alternativeNames(bindAddress)), makeCurveKey(), &stranger);
  return served({&server, &stranger}, trusted);
}

TlsIdentity makeUntrustedRoot(const std::string& bindAddress) {
  return signedByStranger("vrmsim stranger", bindAddress);
}

TlsIdentity makeSameNameRoot(const std::string& bindAddress) {
  return signedByStranger(kRootName, bindAddress);
}

TlsIdentity makeIncompleteChain(const std::string& bindAddress) {
  const Party root = makeRoot();
  const Party issuer = makeIntermediate(root);
  const Party server =
      certify(serverContent(alternativeNames(bindAddress)), makeCurveKey(), &issuer);
  return served({&server}, root);
}

TlsIdentity makeSha1Leaf(const std::string& bindAddress) {
  CertificateContent content = serverContent(alternativeNames(bindAddress));
  content.digest = EVP_sha1();
  TlsIdentity identity = signedByRoot(content);
  identity.takesWeakCryptography = true;
  return identity;
}

TlsIdentity makeRsa1024(const std::string& bindAddress) {
  constexpr unsigned int kBits = 1024;
  TlsIdentity identity =
      signedByRoot(serverContent(alternativeNames(bindAddress)), makeRsaKey(kBits));
  identity.takesWeakCryptography = true;
  return identity;
}

TlsIdentity makeClientOnlyPurpose(const std::string& bindAddress) {
  CertificateContent content = serverContent(alternativeNames(bindAddress));
  content.extensions[NID_ext_key_usage] = "clientAuth";
  return signedByRoot(content);
}

TlsIdentity makeCaFalseIssuer(const std::string& bindAddress) {
  CertificateContent issuer = authorityContent("vrmsim no authority");
  issuer.extensions[NID_basic_constraints] = "critical,CA:FALSE";
  return signedByIntermediate(serverContent(alternativeNames(bindAddress)), issuer);
}

TlsIdentity makeNameConstraint(const std::string& bindAddress) {
  CertificateContent issuer = authorityContent("vrmsim constrained");
  issuer.extensions[NID_name_constraints] =
      "critical,permitted;DNS:elsewhere.example,permitted;IP:192.0.2.0/255.255.255.0";
  return signedByIntermediate(serverContent(alternativeNames(bindAddress)), issuer);
}

TlsIdentity makePathLength(const std::string& bindAddress) {
  const Party root = makeRoot();
  const Party upper = makeIntermediate(root, authorityContent("vrmsim last", ",pathlen:0"));
  const Party lower = makeIntermediate(upper, authorityContent("vrmsim one too many"));
  const Party server =
      certify(serverContent(alternativeNames(bindAddress)), makeCurveKey(), &lower);
  return served({&server, &lower, &upper}, root);
}

TlsIdentity makeUnknownCriticalExtension(const std::string& bindAddress) {
  // Below the number that stands for examples; OpenSSL has to be told of it once.
  static const int number =
      OBJ_create("1.3.6.1.4.1.32473.1", "vrmsimUnknown", "unknown to every client");
  CertificateContent content = serverContent(alternativeNames(bindAddress));
  content.extensions[number] = "critical,DER:05:00";
  return signedByRoot(content);
}

TlsIdentity makeTls10Only(const std::string& bindAddress) {
  return withOldVersion(TlsVersion::v1_0, bindAddress);
}

TlsIdentity makeTls11Only(const std::string& bindAddress) {
  return withOldVersion(TlsVersion::v1_1, bindAddress);
}

// By TLS 1.2, where the refusal comes before a client can send anything. The server's certificate
// serves for clients as well, so that there is one to come in with.
TlsIdentity makeClientCertificateDemanded(const std::string& bindAddress) {
  CertificateContent content = serverContent(alternativeNames(bindAddress));
  content.extensions[NID_ext_key_usage] = "serverAuth,clientAuth";
  TlsIdentity identity = signedByRoot(content);
  identity.newestVersion = TlsVersion::v1_2;
  identity.demandsClientCertificate = true;
  return identity;
}

TlsIdentity makeIntermediateChain(const std::string& bindAddress) {
  return signedByIntermediate(serverContent(alternativeNames(bindAddress)),
                              authorityContent("vrmsim intermediate", ",pathlen:0"));
}

TlsIdentity makeOutOfOrderChain(const std::string& bindAddress) {
  const Party root = makeRoot();
  const Party upper = makeIntermediate(root, authorityContent("vrmsim upper"));
  const Party lower = makeIntermediate(upper, authorityContent("vrmsim lower"));
  const Party server =
      certify(serverContent(alternativeNames(bindAddress)), makeCurveKey(), &lower);
  return served({&server, &root, &upper, &lower}, root);
}

// The names that count stand last.
TlsIdentity makeThousandNames(const std::string& bindAddress) {
  constexpr int kNames = 1000;
  std::string names;
  for (int i = 0; i < kNames; ++i) names += "DNS:host-" + std::to_string(i) + ".example,";
  return signedByRoot(serverContent(names + alternativeNames(bindAddress)));
}

TlsIdentity makeEmptySubject(const std::string& bindAddress) {
  CertificateContent content = serverContent("critical," + alternativeNames(bindAddress));
  content.commonNames.clear();
  return signedByRoot(content);
}

TlsIdentity makeRsa4096(const std::string& bindAddress) {
  constexpr unsigned int kBits = 4096;
  return signedByRoot(serverContent(alternativeNames(bindAddress)), makeRsaKey(kBits));
}

TlsIdentity makeEcdsa(const std::string& bindAddress) {
  CertificateContent content = serverContent(alternativeNames(bindAddress));
  content.digest = EVP_sha384();
  return signedByRoot(content, makeCurveKey("P-384"));
}

TlsIdentity makeEd25519(const std::string& bindAddress) {
  return signedByRoot(serverContent(alternativeNames(bindAddress)), makeEd25519Key());
}

constexpr bool kRefused = false;
constexpr bool kAccepted = true;

constexpr std::array kCases{
    CertificateCase{"expired", "ran out a month ago", kRefused, makeExpired},
    CertificateCase{"not-yet-valid", "begins in a month", kRefused, makeNotYetValid},
    CertificateCase{"wrong-name", "holds another name and no address", kRefused, makeWrongName},
    CertificateCase{"wrong-address", "holds other addresses and no name", kRefused,
                    makeWrongAddress},
    CertificateCase{"subject-name-only", "names the manager in the subject alone", kRefused,
                    makeSubjectNameOnly},
    CertificateCase{"untrusted-root", "signed by a root that nobody trusts", kRefused,
                    makeUntrustedRoot},
    CertificateCase{"same-name-root", "signed by another root of the trusted one's name", kRefused,
                    makeSameNameRoot},
    CertificateCase{"incomplete-chain", "the intermediate authority is not sent", kRefused,
                    makeIncompleteChain},
    CertificateCase{"sha1-leaf", "signed with SHA-1", kRefused, makeSha1Leaf},
    CertificateCase{"rsa-1024", "has an RSA key of 1024 bits", kRefused, makeRsa1024},
    CertificateCase{"client-only-purpose", "made for clients, not for servers", kRefused,
                    makeClientOnlyPurpose},
    CertificateCase{"ca-false-issuer", "signed by a certificate that is no authority", kRefused,
                    makeCaFalseIssuer},
    CertificateCase{"name-constraint", "signed by an authority for other names", kRefused,
                    makeNameConstraint},
    CertificateCase{"path-length", "more authorities in the chain than the upper one allows",
                    kRefused, makePathLength},
    CertificateCase{"unknown-critical-extension", "has a critical extension that nobody knows",
                    kRefused, makeUnknownCriticalExtension},
    CertificateCase{"tls-1.0-only", "a good certificate; speaks TLS 1.0 only", kRefused,
                    makeTls10Only},
    CertificateCase{"tls-1.1-only", "a good certificate; speaks TLS 1.1 only", kRefused,
                    makeTls11Only},
    CertificateCase{"client-certificate-demanded",
                    "a good certificate; wants one of the client, by TLS 1.2", kRefused,
                    makeClientCertificateDemanded},
    CertificateCase{"intermediate", "signed by an intermediate authority, which is sent", kAccepted,
                    makeIntermediateChain},
    CertificateCase{"out-of-order-chain", "the authorities are sent from the root downwards",
                    kAccepted, makeOutOfOrderChain},
    CertificateCase{"thousand-names", "holds a thousand other names before the right ones",
                    kAccepted, makeThousandNames},
    CertificateCase{"empty-subject", "has no subject; the alternative names are critical",
                    kAccepted, makeEmptySubject},
    CertificateCase{"rsa-4096", "has an RSA key of 4096 bits", kAccepted, makeRsa4096},
    CertificateCase{"ecdsa", "has a key on P-384, signed with SHA-384", kAccepted, makeEcdsa},
    CertificateCase{"ed25519", "has an Ed25519 key", kAccepted, makeEd25519},
};

}  // namespace

std::span<const CertificateCase> certificateCases() { return kCases; }

const CertificateCase& certificateCase(std::string_view name) {
  std::string names;
  for (const CertificateCase& known : kCases) {
    if (known.name == name) return known;
    names.append(" ").append(known.name);
  }
  throw std::invalid_argument("no certificate is called " + std::string(name) +
                              "; there are:" + names);
}

}  // namespace kestrelvisor::vrmsim
