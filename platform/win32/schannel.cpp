#include "platform/win32/schannel.h"

#define SCHANNEL_USE_BLACKLISTS
#include <schannel.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

#include "base/host_name.h"
#include "base/punycode.h"
#include "platform/win32/certificate.h"
#include "platform/win32/text.h"

namespace vornelle::win32 {
namespace {

constexpr DWORD kTls12 = 0x800;   // SP_PROT_TLS1_2_CLIENT
constexpr DWORD kTls13 = 0x2000;  // SP_PROT_TLS1_3_CLIENT
// SSL 2 and 3, TLS 1.0 and 1.1.
constexpr DWORD kTooOld = 0x8 | 0x20 | 0x80 | 0x200;

constexpr ULONG kContextFlags = ISC_REQ_SEQUENCE_DETECT | ISC_REQ_REPLAY_DETECT | ISC_REQ_CONFIDENTIALITY |
                                ISC_REQ_EXTENDED_ERROR | ISC_REQ_ALLOCATE_MEMORY | ISC_REQ_STREAM |
                                ISC_REQ_MANUAL_CRED_VALIDATION;

// A record takes 16 KB and a little.
constexpr std::size_t kLongestRecord = 64U << 10;
constexpr char kAlert = 0x15;

// The host's name as the name system and certificates know it; "" where it can be none. An address stays as
// it is.
[[gnu::cold]] std::string asciiHost(const std::string& host) {
  const std::string bare = bareHost(host);
  return addressOctets(bare) ? bare : hostToAscii(bare).value_or("");
}

SecBuffer bufferOf(ULONG type, const void* data = nullptr, std::size_t size = 0) {
  return {static_cast<ULONG>(size), type, const_cast<void*>(data)};
}

// What runs once a connection is built for size: cold. Reading and writing are not.
class SchannelEngine final : public TlsEngine {
 public:
  [[gnu::cold]] SchannelEngine(const SecurityFunctionTableW& functions, const TlsPeer& peer)
      : system_(functions), peer_(peer), host_(asciiHost(peer.host)) {
    // The name is told to the server, an address never is (RFC 6066, 3).
    if (!addressOctets(host_)) target_ = widen(host_);
    SecInvalidateHandle(&credentials_);
    SecInvalidateHandle(&context_);
    acquireCredentials();
  }

  ~SchannelEngine() override {
    if (SecIsValidHandle(&context_)) system_.DeleteSecurityContext(&context_);
    if (SecIsValidHandle(&credentials_)) system_.FreeCredentialsHandle(&credentials_);
  }
  SchannelEngine(const SchannelEngine&) = delete;
  SchannelEngine& operator=(const SchannelEngine&) = delete;

  void receive(std::string_view bytes) override {
    if (bytes.empty()) return;
    input_.erase(0, inputAt_);
    inputAt_ = 0;
    input_ += bytes;
    emptyAlert_ = false;
  }

  std::string takeOutput() override { return std::exchange(output_, {}); }

  [[gnu::cold]] State handshake() override {
    if (phase_ == Phase::failed) return State::failed;
    if (!SecIsValidHandle(&context_)) {
      const SECURITY_STATUS status = initialize({});
      if (status != SEC_I_CONTINUE_NEEDED) return fail(status);
    }
    const State state = exchangeTokens();
    if (state != State::ready) return state;
    return finishHandshake();
  }

  State read(char* buffer, std::size_t size, std::size_t& got) override {
    while (textAt_ == text_.size()) {
      const State state = nextText();
      if (state != State::ready) return state;
    }
    got = text_.copy(buffer, size, textAt_);
    textAt_ += got;
    return State::ready;
  }

  State write(std::string_view bytes) override {
    while (phase_ != Phase::failed && !bytes.empty()) {
      const std::string_view piece = bytes.substr(0, sizes_.cbMaximumMessage);
      bytes.remove_prefix(piece.size());
      const std::size_t start = output_.size();
      output_.append(sizes_.cbHeader, '\0').append(piece).append(sizes_.cbTrailer, '\0');
      char* const record = output_.data() + start;
      std::array<SecBuffer, 4> buffers = {
          bufferOf(SECBUFFER_STREAM_HEADER, record, sizes_.cbHeader),
          bufferOf(SECBUFFER_DATA, record + sizes_.cbHeader, piece.size()),
          bufferOf(SECBUFFER_STREAM_TRAILER, record + sizes_.cbHeader + piece.size(), sizes_.cbTrailer),
          bufferOf(SECBUFFER_EMPTY)};
      SecBufferDesc description{SECBUFFER_VERSION, static_cast<ULONG>(buffers.size()), buffers.data()};
      const SECURITY_STATUS status = system_.EncryptMessage(&context_, 0, &description, 0);
      if (status != SEC_E_OK) {
        output_.resize(start);
        return fail(status);
      }
      // The trailer may be shorter than it had room for.
      output_.resize(start + buffers[0].cbBuffer + buffers[1].cbBuffer + buffers[2].cbBuffer);
    }
    return phase_ == Phase::failed ? State::failed : State::ready;
  }

  [[gnu::cold]] void close() override {
    if (phase_ == Phase::failed || !SecIsValidHandle(&context_)) return;
    DWORD shutDown = SCHANNEL_SHUTDOWN;
    SecBuffer token = bufferOf(SECBUFFER_TOKEN, &shutDown, sizeof shutDown);
    SecBufferDesc description{SECBUFFER_VERSION, 1, &token};
    if (system_.ApplyControlToken(&context_, &description) == SEC_E_OK) (void)initialize({});
  }

  // Wine gives close_notify as a record without text. A record of that kind in front of the line's end can be
  // nothing else.
  [[nodiscard]] bool endsHere() const override { return emptyAlert_ && inputAt_ == input_.size(); }
  [[nodiscard]] bool holdsBackNewest() const override { return peer_.versions == TlsVersions::usual; }
  [[nodiscard]] std::string protocol() const override {
    return protocol_ == kTls12 ? "TLS 1.2" : protocol_ == kTls13 ? "TLS 1.3" : "";
  }

  [[gnu::cold]] TlsFinding check(std::int64_t until) override {
    PCCERT_CONTEXT certificate = nullptr;
    const SECURITY_STATUS status =
        system_.QueryContextAttributesW(&context_, SECPKG_ATTR_REMOTE_CERT_CONTEXT, &certificate);
    if (status != SEC_E_OK || !certificate) {
      fail(status);
      TlsFinding finding = failure_;
      finding.problem = TlsProblem::badCertificate;
      return finding;
    }
    TlsFinding finding = checkCertificate(certificate, host_, peer_.acceptedFingerprint, until);
    CertFreeCertificateContext(certificate);
    return finding;
  }

  [[nodiscard]] TlsFinding failure() const override { return failure_; }

 private:
  enum class Phase {
    tokens,  // all bytes of the peer are for InitializeSecurityContext
    text,    // they are for DecryptMessage
    closed,
    failed,
  };

  [[gnu::cold]] void acquireCredentials() {
    const DWORD wanted = peer_.versions == TlsVersions::newest ? kTls13 : kTls12;
    TLS_PARAMETERS versions{};
    versions.grbitDisabledProtocols = ~wanted;
    SCH_CREDENTIALS credentials{};
    credentials.dwVersion = SCH_CREDENTIALS_VERSION;
    credentials.dwFlags = SCH_CRED_MANUAL_CRED_VALIDATION | SCH_CRED_NO_DEFAULT_CREDS | SCH_USE_STRONG_CRYPTO;
    credentials.cTlsParameters = 1;
    credentials.pTlsParameters = &versions;
    SECURITY_STATUS status = acquire(&credentials);
    if (status != SEC_E_OK) {
      // Windows 10 before version 1809 knows the older form alone.
      SCHANNEL_CRED older{};
      older.dwVersion = SCHANNEL_CRED_VERSION;
      older.grbitEnabledProtocols = wanted;
      older.dwFlags = credentials.dwFlags;
      status = acquire(&older);
    }
    if (status == SEC_E_OK) return;
    fail(status);
    // A system without TLS 1.3 says so here: there is no version in common.
    if (failure_.problem == TlsProblem::refused) {
      failure_.problem = wanted == kTls13 ? TlsProblem::version : TlsProblem::unavailable;
    }
  }

  [[gnu::cold]] SECURITY_STATUS acquire(void* credentials) {
    std::wstring package = UNISP_NAME_W;
    const SECURITY_STATUS status =
        system_.AcquireCredentialsHandleW(nullptr, package.data(), SECPKG_CRED_OUTBOUND, nullptr, credentials,
                                          nullptr, nullptr, &credentials_, nullptr);
    if (status != SEC_E_OK) {
      SecInvalidateHandle(&credentials_);  // two statements
    }
    return status;
  }

  [[nodiscard]] std::string_view input() const { return std::string_view(input_).substr(inputAt_); }

  // One call of InitializeSecurityContext. What it has for the peer goes to the output; `input` is taken but
  // for the extra bytes and where it is incomplete.
  [[gnu::cold]] SECURITY_STATUS initialize(std::string_view input) {
    std::array<SecBuffer, 2> in = {bufferOf(SECBUFFER_TOKEN, input.data(), input.size()),
                                   bufferOf(SECBUFFER_EMPTY)};
    SecBufferDesc inDescription{SECBUFFER_VERSION, static_cast<ULONG>(in.size()), in.data()};
    SecBuffer out = bufferOf(SECBUFFER_TOKEN);
    SecBufferDesc outDescription{SECBUFFER_VERSION, 1, &out};
    const bool first = !SecIsValidHandle(&context_);
    CtxtHandle made{};
    ULONG attributes = 0;
    const SECURITY_STATUS status = system_.InitializeSecurityContextW(
        &credentials_, first ? nullptr : &context_, target_.empty() ? nullptr : target_.data(), flags_, 0, 0,
        input.empty() ? nullptr : &inDescription, 0, first ? &made : &context_, &outDescription, &attributes,
        nullptr);
    if (first && status >= 0) context_ = made;
    if (out.pvBuffer) {
      output_.append(static_cast<const char*>(out.pvBuffer), out.cbBuffer);
      system_.FreeContextBuffer(out.pvBuffer);
    }
    if (status == SEC_E_OK || status == SEC_I_CONTINUE_NEEDED) {
      const std::size_t extra = in[1].BufferType == SECBUFFER_EXTRA ? in[1].cbBuffer : 0;
      inputAt_ = input_.size() - std::min(extra, input.size());
    }
    return status;
  }

  // Hands the peer's bytes over until the system has what it needs.
  [[gnu::cold]] State exchangeTokens() {
    while (!input().empty()) {
      const std::size_t before = input().size();
      const SECURITY_STATUS status = initialize(input());
      switch (status) {
        case SEC_E_OK:
          return State::ready;
        case SEC_I_CONTINUE_NEEDED:
          // Nothing taken: it waits for more of the same.
          if (input().size() == before) return State::wantsBytes;
          break;
        case SEC_E_INCOMPLETE_MESSAGE:
          return State::wantsBytes;
        case SEC_I_INCOMPLETE_CREDENTIALS:
          // The server would like a certificate of ours. The same bytes again say that there is none.
          if (flags_ & ISC_REQ_USE_SUPPLIED_CREDS) return fail(status);
          flags_ |= ISC_REQ_USE_SUPPLIED_CREDS;
          break;
        default:
          return fail(status);
      }
    }
    return State::wantsBytes;
  }

  [[gnu::cold]] State finishHandshake() {
    SecPkgContext_ConnectionInfo connection{};
    SECURITY_STATUS status =
        system_.QueryContextAttributesW(&context_, SECPKG_ATTR_CONNECTION_INFO, &connection);
    if (status == SEC_E_OK)
      status = system_.QueryContextAttributesW(&context_, SECPKG_ATTR_STREAM_SIZES, &sizes_);
    if (status == SEC_E_OK && sizes_.cbMaximumMessage == 0) status = SEC_E_INTERNAL_ERROR;
    if (status != SEC_E_OK) return fail(status);
    protocol_ = connection.dwProtocol;
    if (protocol_ & kTooOld) {
      // Not every system keeps to what it was told to offer.
      fail(SEC_E_UNSUPPORTED_FUNCTION);
      failure_ = {TlsProblem::version, "", "", "Schannel protocol " + std::to_string(protocol_)};
      return State::failed;
    }
    phase_ = Phase::text;
    return State::ready;
  }

  // ready: there is a record's text, which may be empty.
  State nextText() {
    switch (phase_) {
      case Phase::failed:
        return State::failed;
      case Phase::closed:
        return State::closed;
      case Phase::tokens: {
        const State state = exchangeTokens();
        if (state != State::ready) return state;
        phase_ = Phase::text;
        break;
      }
      case Phase::text:
        break;
    }
    if (input().empty()) return State::wantsBytes;
    return decrypt();
  }

  State decrypt() {
    const char type = input().front();
    std::array<SecBuffer, 4> buffers = {bufferOf(SECBUFFER_DATA, input_.data() + inputAt_, input().size()),
                                        bufferOf(SECBUFFER_EMPTY), bufferOf(SECBUFFER_EMPTY),
                                        bufferOf(SECBUFFER_EMPTY)};
    SecBufferDesc description{SECBUFFER_VERSION, static_cast<ULONG>(buffers.size()), buffers.data()};
    const SECURITY_STATUS status = system_.DecryptMessage(&context_, &description, 0, nullptr);
    if (status == SEC_E_INCOMPLETE_MESSAGE) {
      return input().size() > kLongestRecord ? fail(status) : State::wantsBytes;
    }
    if (status == SEC_I_CONTEXT_EXPIRED) {
      phase_ = Phase::closed;
      return State::closed;
    }
    if (status != SEC_E_OK && status != SEC_I_RENEGOTIATE) return fail(status);

    text_.clear();
    textAt_ = 0;
    std::size_t extra = 0;
    // The first one may still be the input, unchanged.
    for (auto buffer = buffers.begin() + 1; buffer != buffers.end(); ++buffer) {
      if (buffer->BufferType == SECBUFFER_DATA && buffer->cbBuffer > 0) {
        text_.append(static_cast<const char*>(buffer->pvBuffer), buffer->cbBuffer);
      }
      if (buffer->BufferType == SECBUFFER_EXTRA)
        extra = std::min<std::size_t>(buffer->cbBuffer, input().size());
    }
    inputAt_ = input_.size() - extra;
    emptyAlert_ = type == kAlert && text_.empty();
    if (status == SEC_I_RENEGOTIATE) {
      // Wine calls TLS 1.3 protocol 0.
      if (protocol_ != kTls13 && protocol_ != 0) return fail(status);
      phase_ = Phase::tokens;
    }
    return State::ready;
  }

  [[gnu::cold]] State fail(SECURITY_STATUS status) {
    phase_ = Phase::failed;
    std::array<char, 30> text{};
    std::snprintf(text.data(), text.size(), "Schannel %08lx", static_cast<unsigned long>(status));
    failure_.system = text.data();
    failure_.problem = status == SEC_E_INSUFFICIENT_MEMORY ? TlsProblem::outOfMemory : TlsProblem::refused;
    return State::failed;
  }

  const SecurityFunctionTableW& system_;
  const TlsPeer peer_;
  const std::string host_;
  std::wstring target_;
  CredHandle credentials_;
  CtxtHandle context_;
  ULONG flags_ = kContextFlags;
  SecPkgContext_StreamSizes sizes_{};
  DWORD protocol_ = 0;
  Phase phase_ = Phase::tokens;
  TlsFinding failure_;
  std::string input_;  // of the peer, from inputAt_ on not used yet
  std::size_t inputAt_ = 0;
  std::string text_;  // decrypted, from textAt_ on not read yet
  std::size_t textAt_ = 0;
  std::string output_;
  bool emptyAlert_ = false;  // the last record was an alert without text
};

}  // namespace

std::unique_ptr<TlsEngine> makeSchannelEngine(const SecurityFunctionTableW& functions, const TlsPeer& peer) {
  return std::make_unique<SchannelEngine>(functions, peer);
}

}  // namespace vornelle::win32
