// TLS by the system's OpenSSL 3, between two buffers in memory: it never sees the connection.
//
// The certificate is looked at while the handshake goes on, but never ends it: every fault is noted, and
// check() says afterwards which of them counts, so that exactly an accepted certificate can pass. Until then
// nothing of the caller's is sent.
#include "platform/tls.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>

#include "base/host_name.h"
#include "base/punycode.h"
#include "base/text.h"
#include "platform/common/tls_faults.h"
#include "platform/common/tls_stream.h"

namespace vornelle {
namespace {

template <auto release>
struct Release {
  template <typename T>
  void operator()(T* object) const {
    release(object);
  }
};
using Context = std::unique_ptr<SSL_CTX, Release<SSL_CTX_free>>;
using OwnedSsl = std::unique_ptr<SSL, Release<SSL_free>>;
using Certificate = std::unique_ptr<X509, Release<X509_free>>;
using Names = std::unique_ptr<GENERAL_NAMES, Release<GENERAL_NAMES_free>>;

// At this level OpenSSL takes no RSA key below 2048 bits and no SHA-1, anywhere in a chain.
constexpr int kSecurityLevel = 2;

// One for the process: reading the system's roots takes 50 milliseconds and more.
SSL_CTX* context() {
  static const Context made = [] {
    Context fresh(SSL_CTX_new(TLS_client_method()));
    if (!fresh || SSL_CTX_set_default_verify_paths(fresh.get()) != 1) return Context();
    SSL_CTX_set_security_level(fresh.get(), kSecurityLevel);
    SSL_CTX_set_options(fresh.get(), SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION);
    SSL_CTX_set_session_cache_mode(fresh.get(), SSL_SESS_CACHE_OFF);
    return fresh;
  }();
  return made.get();
}

TlsProblem tlsProblemOf(int error) {
  switch (error) {
    case X509_V_ERR_HOSTNAME_MISMATCH:
    case X509_V_ERR_IP_ADDRESS_MISMATCH:
      return TlsProblem::wrongName;
    case X509_V_ERR_CERT_HAS_EXPIRED:
      return TlsProblem::expired;
    case X509_V_ERR_CERT_NOT_YET_VALID:
      return TlsProblem::notYetValid;
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
      return TlsProblem::selfSigned;
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
    case X509_V_ERR_CERT_UNTRUSTED:
    case X509_V_ERR_CERT_CHAIN_TOO_LONG:
      return TlsProblem::untrusted;
    case X509_V_ERR_INVALID_PURPOSE:
    case X509_V_ERR_CERT_REJECTED:
      return TlsProblem::wrongPurpose;
    case X509_V_ERR_EE_KEY_TOO_SMALL:
    case X509_V_ERR_CA_KEY_TOO_SMALL:
      return TlsProblem::weakKey;
    case X509_V_ERR_CA_MD_TOO_WEAK:
      return TlsProblem::weakSignature;
    case X509_V_ERR_OUT_OF_MEM:
      return TlsProblem::outOfMemory;
    default:
      return TlsProblem::badCertificate;
  }
}

// What the chain's check has found so far; hangs at its SSL.
struct Noted {
  TlsFaults faults;
  int firstError = X509_V_OK;
};

int noteFault(int good, X509_STORE_CTX* check) {
  if (good == 1) return 1;
  auto* const ssl =
      static_cast<SSL*>(X509_STORE_CTX_get_ex_data(check, SSL_get_ex_data_X509_STORE_CTX_idx()));
  auto* const noted = static_cast<Noted*>(SSL_get_app_data(ssl));
  const int error = X509_STORE_CTX_get_error(check);
  noted->faults.add(tlsProblemOf(error));
  if (noted->firstError == X509_V_OK) noted->firstError = error;
  return 1;
}

std::string textOf(const ASN1_STRING* text) {
  return {reinterpret_cast<const char*>(ASN1_STRING_get0_data(text)),
          static_cast<std::size_t>(ASN1_STRING_length(text))};
}

// Whom it is for: its first DNS name, else its common name, else its whole subject.
std::string nameOf(X509* certificate) {
  const Names names(
      static_cast<GENERAL_NAMES*>(X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)));
  for (int i = 0; names && i < sk_GENERAL_NAME_num(names.get()); ++i) {
    const GENERAL_NAME* const name = sk_GENERAL_NAME_value(names.get(), i);
    if (name->type == GEN_DNS) return printableName(textOf(name->d.dNSName));
  }
  X509_NAME* const subject = X509_get_subject_name(certificate);
  const int at = X509_NAME_get_index_by_NID(subject, NID_commonName, -1);
  if (at >= 0) return printableName(textOf(X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, at))));
  std::array<char, 300> line{};
  X509_NAME_oneline(subject, line.data(), static_cast<int>(line.size()));
  return printableName(line.data());
}

std::string fingerprintOf(X509* certificate) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned int size = 0;
  if (X509_digest(certificate, EVP_sha256(), digest.data(), &size) != 1) return {};
  return hexadecimal({reinterpret_cast<const char*>(digest.data()), size});
}

class OpensslEngine final : public TlsEngine {
 public:
  explicit OpensslEngine(const TlsPeer& peer) : acceptedFingerprint_(peer.acceptedFingerprint) {
    ERR_clear_error();
    if (!context()) return;
    ssl_.reset(SSL_new(context()));
    if (!ssl_) return;
    in_ = BIO_new(BIO_s_mem());
    out_ = BIO_new(BIO_s_mem());
    if (!in_ || !out_) {
      BIO_free(in_);
      BIO_free(out_);
      ssl_.reset();
      return;
    }
    // An empty buffer means "not yet", not an end.
    BIO_set_mem_eof_return(in_, -1);
    SSL_set_bio(ssl_.get(), in_, out_);
    SSL_set_connect_state(ssl_.get());
    SSL_set_app_data(ssl_.get(), &noted_);
    SSL_set_verify(ssl_.get(), SSL_VERIFY_PEER, noteFault);
    const int oldest = peer.versions == TlsVersions::newest ? TLS1_3_VERSION : TLS1_2_VERSION;
    if (SSL_set_min_proto_version(ssl_.get(), oldest) != 1 || !expectHost(peer.host)) ssl_.reset();
  }

  void receive(std::string_view bytes) override {
    if (ssl_ && BIO_write(in_, bytes.data(), static_cast<int>(bytes.size())) < 0) failed_ = true;
  }

  std::string takeOutput() override {
    std::string output;
    if (!ssl_) return output;
    output.resize(static_cast<std::size_t>(std::max(BIO_pending(out_), 0)));
    const int taken = output.empty() ? 0 : BIO_read(out_, output.data(), static_cast<int>(output.size()));
    output.resize(static_cast<std::size_t>(std::max(taken, 0)));
    return output;
  }

  State handshake() override {
    if (!usable()) return State::failed;
    return stateAfter(SSL_do_handshake(ssl_.get()));
  }

  State read(char* buffer, std::size_t size, std::size_t& got) override {
    if (!usable()) return State::failed;
    return stateAfter(SSL_read_ex(ssl_.get(), buffer, size, &got));
  }

  State write(std::string_view bytes) override {
    if (!usable()) return State::failed;
    std::size_t written = 0;
    const State state = stateAfter(SSL_write_ex(ssl_.get(), bytes.data(), bytes.size(), &written));
    return state == State::ready && written == bytes.size() ? State::ready : State::failed;
  }

  void close() override {
    if (usable()) SSL_shutdown(ssl_.get());
  }

  [[nodiscard]] bool endsHere() const override { return false; }
  [[nodiscard]] bool holdsBackNewest() const override { return false; }
  [[nodiscard]] std::string protocol() const override {
    const std::string name = SSL_get_version(ssl_.get());
    return name == "TLSv1.3" ? "TLS 1.3" : name == "TLSv1.2" ? "TLS 1.2" : name;
  }

  TlsFinding check(std::int64_t /*until*/) override {
    TlsFinding finding;
    const Certificate certificate(SSL_get1_peer_certificate(ssl_.get()));
    if (!certificate) {
      finding.problem = TlsProblem::badCertificate;
      finding.system = "no certificate";
      return finding;
    }
    finding.certificateName = nameOf(certificate.get());
    finding.fingerprint = fingerprintOf(certificate.get());
    if (!finding.fingerprint.empty() && finding.fingerprint == acceptedFingerprint_) return finding;
    const long result = SSL_get_verify_result(ssl_.get());
    if (result != X509_V_OK) noted_.faults.add(tlsProblemOf(static_cast<int>(result)));
    if (finding.fingerprint.empty()) noted_.faults.add(TlsProblem::badCertificate);
    finding.problem = noted_.faults.gravest();
    if (finding.problem != TlsProblem::none) {
      const int error = noted_.firstError != X509_V_OK ? noted_.firstError : static_cast<int>(result);
      finding.system =
          printableName("OpenSSL " + std::to_string(error) + " " + X509_verify_cert_error_string(error));
    }
    return finding;
  }

  [[nodiscard]] TlsFinding failure() const override {
    TlsFinding finding;
    finding.system = words_;
    finding.problem = problem_;
    if (!ssl_) finding.problem = context() ? TlsProblem::outOfMemory : TlsProblem::unavailable;
    return finding;
  }

 private:
  [[nodiscard]] bool usable() {
    ERR_clear_error();
    return ssl_ && !failed_;
  }

  // Name or address that the certificate has to be for; the name is told to the server, an address never is
  // (RFC 6066, 3).
  bool expectHost(const std::string& host) {
    const std::string bare = bareHost(host);
    X509_VERIFY_PARAM* const wanted = SSL_get0_param(ssl_.get());
    if (const std::optional<std::string> octets = addressOctets(bare)) {
      return X509_VERIFY_PARAM_set1_ip(wanted, reinterpret_cast<const unsigned char*>(octets->data()),
                                       octets->size()) == 1;
    }
    const std::optional<std::string> name = hostToAscii(bare);
    if (!name || name->empty()) {
      // No certificate is for such a name.
      noted_.faults.add(TlsProblem::wrongName);
      noted_.firstError = X509_V_ERR_HOSTNAME_MISMATCH;
      return true;
    }
    SSL_set_hostflags(ssl_.get(), X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS | X509_CHECK_FLAG_NEVER_CHECK_SUBJECT);
    return SSL_set1_host(ssl_.get(), name->c_str()) == 1 &&
           SSL_set_tlsext_host_name(ssl_.get(), name->c_str()) == 1;
  }

  State stateAfter(int result) {
    if (result == 1) return State::ready;
    switch (SSL_get_error(ssl_.get(), result)) {
      case SSL_ERROR_WANT_READ:
        return State::wantsBytes;
      case SSL_ERROR_ZERO_RETURN:
        return State::closed;
      default:
        noteFailure();
        return State::failed;
    }
  }

  void noteFailure() {
    failed_ = true;
    const unsigned long error = ERR_peek_error();
    std::array<char, 200> words{};
    ERR_error_string_n(error, words.data(), words.size());
    words_ = printableName(words.data());
    if (ERR_GET_REASON(error) == ERR_R_MALLOC_FAILURE) problem_ = TlsProblem::outOfMemory;
    if (ERR_GET_LIB(error) != ERR_LIB_SSL) return;
    switch (ERR_GET_REASON(error)) {
      case SSL_R_UNSUPPORTED_PROTOCOL:
      case SSL_R_UNSUPPORTED_SSL_VERSION:
      case SSL_R_WRONG_SSL_VERSION:
      case SSL_R_WRONG_VERSION_NUMBER:
      case SSL_R_VERSION_TOO_LOW:
      case SSL_R_TLSV1_ALERT_PROTOCOL_VERSION:
        problem_ = TlsProblem::version;
        break;
      default:
        break;
    }
  }

  const std::string acceptedFingerprint_;
  Noted noted_;
  OwnedSsl ssl_;  // owns both buffers
  BIO* in_ = nullptr;
  BIO* out_ = nullptr;
  bool failed_ = false;
  TlsProblem problem_ = TlsProblem::refused;
  std::string words_;
};

}  // namespace

TlsResult startTls(std::unique_ptr<NetStream> plain, const TlsPeer& peer, int timeoutMilliseconds) {
  return startTlsWith(std::make_unique<OpensslEngine>(peer), std::move(plain), timeoutMilliseconds);
}

}  // namespace vornelle
