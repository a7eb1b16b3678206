#include "vrmsim/certificate.h"

#include "vrmsim/certificate_builder.h"

namespace kestrelvisor::vrmsim {

TlsIdentity makeSelfSignedIdentity(const std::string& bindAddress) {
  CertificateContent content;
  content.commonNames = {"vrmsim"};
  content.extensions = {{NID_basic_constraints, "critical,CA:TRUE"},
                        {NID_key_usage, "critical,digitalSignature,keyCertSign"},
                        {NID_ext_key_usage, "serverAuth"},
                        {NID_subject_key_identifier, "hash"},
                        {NID_subject_alt_name, alternativeNames(bindAddress)}};
  const Party server = certify(content, makeCurveKey(), nullptr);
  TlsIdentity identity;
  identity.chainPem = certificateText(server);
  identity.privateKeyPem = keyText(server);
  identity.trustedPem = identity.chainPem;
  return identity;
}

}  // namespace kestrelvisor::vrmsim
