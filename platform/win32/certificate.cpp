#include "platform/win32/certificate.h"

#include <bcrypt.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <string_view>

#include "base/host_name.h"
#include "base/text.h"
#include "platform/common/alternative_names.h"
#include "platform/common/done_in_time.h"
#include "platform/common/tls_faults.h"
#include "platform/win32/text.h"

namespace vornelle::win32 {
namespace {

// One check a connection: all of it is built for size (cold).

constexpr DWORD kDisableAia = 0x2000;       // CERT_CHAIN_DISABLE_AIA
constexpr DWORD kWeakSignature = 0x100000;  // CERT_TRUST_HAS_WEAK_SIGNATURE
constexpr DWORD kIgnoreName = 0x1000;       // SECURITY_FLAG_IGNORE_CERT_CN_INVALID
constexpr DWORD kLeastRsaBits = 2048;
constexpr DWORD kLeastCurveBits = 224;

class CertificateReference {
 public:
  explicit CertificateReference(PCCERT_CONTEXT certificate)
      : certificate_(CertDuplicateCertificateContext(certificate)) {}
  ~CertificateReference() { CertFreeCertificateContext(certificate_); }
  CertificateReference(const CertificateReference&) = delete;
  CertificateReference& operator=(const CertificateReference&) = delete;
  [[nodiscard]] PCCERT_CONTEXT get() const { return certificate_; }

 private:
  PCCERT_CONTEXT certificate_;
};

std::string_view bytesOf(const BYTE* data, DWORD size) {
  return {reinterpret_cast<const char*>(data), size};
}

[[gnu::cold]] std::string fingerprintOf(PCCERT_CONTEXT certificate) {
  BCRYPT_ALG_HANDLE algorithm = nullptr;
  if (BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_SHA256_ALGORITHM, nullptr, 0) != 0) return {};
  std::array<UCHAR, 32> digest{};
  BCRYPT_HASH_HANDLE hash = nullptr;
  bool done = BCryptCreateHash(algorithm, &hash, nullptr, 0, nullptr, 0, 0) == 0;
  if (done) {
    done = BCryptHashData(hash, certificate->pbCertEncoded, certificate->cbCertEncoded, 0) == 0 &&
           BCryptFinishHash(hash, digest.data(), static_cast<ULONG>(digest.size()), 0) == 0;
    BCryptDestroyHash(hash);
  }
  BCryptCloseAlgorithmProvider(algorithm, 0);
  return done ? hexadecimal(bytesOf(digest.data(), static_cast<DWORD>(digest.size()))) : std::string();
}

[[gnu::cold]] AlternativeNames namesOf(PCCERT_CONTEXT certificate) {
  char oid[] = szOID_SUBJECT_ALT_NAME2;
  const CERT_EXTENSION* const found =
      CertFindExtension(oid, certificate->pCertInfo->cExtension, certificate->pCertInfo->rgExtension);
  if (!found) return {};
  return parseAlternativeNames(bytesOf(found->Value.pbData, found->Value.cbData));
}

[[gnu::cold]] std::string commonName(PCCERT_CONTEXT certificate) {
  std::array<wchar_t, 256> text{};
  std::string attribute = szOID_COMMON_NAME;
  CertGetNameStringW(certificate, CERT_NAME_ATTR_TYPE, 0, attribute.data(), text.data(),
                     static_cast<DWORD>(text.size()));
  return printableName(narrow(text.data()));
}

[[gnu::cold]] std::string wholeSubject(PCCERT_CONTEXT certificate) {
  std::array<wchar_t, 256> text{};
  CertNameToStrW(X509_ASN_ENCODING, &certificate->pCertInfo->Subject, CERT_X500_NAME_STR, text.data(),
                 static_cast<DWORD>(text.size()));
  return printableName(narrow(text.data()));
}

// Whom it is for: its first DNS name, else its common name, else its whole subject.
[[gnu::cold]] std::string nameOf(PCCERT_CONTEXT certificate, const AlternativeNames& names) {
  if (!names.dns.empty()) return printableName(names.dns.front());
  std::string name = commonName(certificate);
  return name.empty() ? wholeSubject(certificate) : name;
}

bool vouchesForItself(PCCERT_CONTEXT certificate) {
  CERT_INFO* const info = certificate->pCertInfo;
  return CertCompareCertificateName(X509_ASN_ENCODING, &info->Issuer, &info->Subject) != FALSE;
}

bool isWeakKey(CERT_PUBLIC_KEY_INFO& key) {
  const std::string_view algorithm = key.Algorithm.pszObjId;
  const DWORD bits = CertGetPublicKeyLength(X509_ASN_ENCODING, &key);
  if (algorithm == szOID_RSA_RSA) return bits < kLeastRsaBits;
  // Not every Windows tells the length of a curve; what it does not know it does not verify with either.
  if (algorithm == szOID_ECC_PUBLIC_KEY) return bits != 0 && bits < kLeastCurveBits;
  return bits != 0 && bits < kLeastRsaBits;
}

[[gnu::cold]] bool isWeakSignature(const CRYPT_ALGORITHM_IDENTIFIER& signature) {
  // MD2, MD4, MD5 and SHA-1, each with RSA, DSA and ECDSA, by their old numbers too.
  constexpr std::array<std::string_view, 14> kWeak = {
      "1.2.840.113549.1.1.2", "1.2.840.113549.1.1.3", "1.2.840.113549.1.1.4", "1.2.840.113549.1.1.5",
      "1.2.840.10040.4.3",    "1.2.840.10045.4.1",    "1.3.14.3.2.2",         "1.3.14.3.2.3",
      "1.3.14.3.2.4",         "1.3.14.3.2.13",        "1.3.14.3.2.15",        "1.3.14.3.2.27",
      "1.3.14.3.2.29",        "1.3.14.7.2.3.1"};
  const std::string_view algorithm = signature.pszObjId;
  if (std::find(kWeak.begin(), kWeak.end(), algorithm) != kWeak.end()) return true;
  if (algorithm != "1.2.840.113549.1.1.10") return false;
  // RSA-PSS names its hash in its parameters, SHA-1 if it names none. All of SHA-2 begins so.
  constexpr std::string_view kSha2("\x60\x86\x48\x01\x65\x03\x04\x02", 8);
  return bytesOf(signature.Parameters.pbData, signature.Parameters.cbData).find(kSha2) ==
         std::string_view::npos;
}

// Wine's chain builder does not know how to leave fetching be; it can be told to fetch nothing at all, which
// on Windows would leave out roots that the system gets when they are first needed.
bool isWine() {
  const HMODULE kernel = GetModuleHandleW(L"ntdll.dll");
  return kernel && GetProcAddress(kernel, "wine_get_version");
}

// One check, shared with the thread that does it.
class Check {
 public:
  Check(PCCERT_CONTEXT certificate, std::string host) : certificate_(certificate), host_(std::move(host)) {}

  [[gnu::cold]] void run() {
    char purpose[] = szOID_PKIX_KP_SERVER_AUTH;
    char* purposes[] = {purpose};
    CERT_CHAIN_PARA wanted{};
    wanted.cbSize = sizeof wanted;
    wanted.RequestedUsage.dwType = USAGE_MATCH_TYPE_AND;
    wanted.RequestedUsage.Usage.cUsageIdentifier = 1;
    wanted.RequestedUsage.Usage.rgpszUsageIdentifier = purposes;
    const DWORD flags = kDisableAia | (isWine() ? CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL : 0);
    PCCERT_CHAIN_CONTEXT chain = nullptr;
    if (!CertGetCertificateChain(nullptr, certificate_.get(), nullptr, certificate_.get()->hCertStore,
                                 &wanted, flags, nullptr, &chain)) {
      code_ = GetLastError();
      faults.add(code_ == ERROR_OUTOFMEMORY || code_ == static_cast<DWORD>(E_OUTOFMEMORY)
                     ? TlsProblem::outOfMemory
                     : TlsProblem::badCertificate);
      return;
    }
    if (chain->cChain == 0 || chain->rgpChain[0]->cElement == 0) {
      faults.add(TlsProblem::badCertificate);
    } else {
      lookAtStatus(*chain);
      lookAtPolicy(chain);
      lookAtElements(*chain->rgpChain[0]);
    }
    CertFreeCertificateChain(chain);
  }

  [[gnu::cold]] [[nodiscard]] std::string codes() const {
    std::array<char, 60> text{};
    std::snprintf(text.data(), text.size(), "policy %08lx, chain %08lx", code_, status_);
    return text.data();
  }

  TlsFaults faults;

 private:
  [[gnu::cold]] void lookAtStatus(const CERT_CHAIN_CONTEXT& chain) {
    status_ = chain.TrustStatus.dwErrorStatus;
    DWORD left = status_;
    const auto bit = [this, &left](DWORD mask, TlsProblem problem) {
      if (left & mask) faults.add(problem);
      left &= ~mask;
    };
    const CERT_SIMPLE_CHAIN& simple = *chain.rgpChain[0];
    const bool alone = simple.cElement == 1 && vouchesForItself(certificate_.get());
    bit(CERT_TRUST_IS_UNTRUSTED_ROOT, alone ? TlsProblem::selfSigned : TlsProblem::untrusted);
    bit(CERT_TRUST_IS_PARTIAL_CHAIN, TlsProblem::untrusted);
    bit(CERT_TRUST_IS_NOT_TIME_VALID, timeProblem(simple));
    bit(CERT_TRUST_IS_NOT_VALID_FOR_USAGE, TlsProblem::wrongPurpose);
    bit(kWeakSignature, TlsProblem::weakSignature);
    bit(left, TlsProblem::badCertificate);
  }

  [[gnu::cold]] void lookAtPolicy(PCCERT_CHAIN_CONTEXT chain) {
    // It knows nothing of addresses.
    const bool isName = !host_.empty() && !addressOctets(host_);
    std::wstring name = widen(host_);
    SSL_EXTRA_CERT_CHAIN_POLICY_PARA server{};
    server.cbSize = sizeof server;
    server.dwAuthType = AUTHTYPE_SERVER;
    server.fdwChecks = isName ? 0 : kIgnoreName;
    server.pwszServerName = name.data();  // never null: some look into it all the same
    CERT_CHAIN_POLICY_PARA asked{};
    asked.cbSize = sizeof asked;
    asked.pvExtraPolicyPara = &server;
    CERT_CHAIN_POLICY_STATUS found{};
    found.cbSize = sizeof found;
    if (!CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_SSL, chain, &asked, &found)) {
      faults.add(TlsProblem::badCertificate);
      return;
    }
    code_ = found.dwError;
    switch (static_cast<HRESULT>(found.dwError)) {
      case S_OK:
        break;
      case CERT_E_CN_NO_MATCH:
        faults.add(TlsProblem::wrongName);
        break;
      case CERT_E_EXPIRED:
        faults.add(timeProblem(*chain->rgpChain[0]));
        break;
      case CERT_E_UNTRUSTEDROOT:
      case CERT_E_CHAINING:
      case CERT_E_UNTRUSTEDCA:
        // The status has told it in more detail.
        if (faults.gravest() != TlsProblem::selfSigned) faults.add(TlsProblem::untrusted);
        break;
      case CERT_E_WRONG_USAGE:
        faults.add(TlsProblem::wrongPurpose);
        break;
      default:
        faults.add(TlsProblem::badCertificate);
        break;
    }
  }

  [[gnu::cold]] void lookAtElements(const CERT_SIMPLE_CHAIN& chain) {
    if (!isFor(namesOf(certificate_.get()), host_)) faults.add(TlsProblem::wrongName);
    for (DWORD i = 0; i < chain.cElement; ++i) {
      const PCCERT_CONTEXT element = chain.rgpElement[i]->pCertContext;
      if (isWeakKey(element->pCertInfo->SubjectPublicKeyInfo)) faults.add(TlsProblem::weakKey);
      // A root is trusted or not; its signature says nothing.
      const bool isRoot = i + 1 == chain.cElement && vouchesForItself(element);
      if (!isRoot && isWeakSignature(element->pCertInfo->SignatureAlgorithm)) {
        faults.add(TlsProblem::weakSignature);
      }
    }
  }

  [[gnu::cold]] static TlsProblem timeProblem(const CERT_SIMPLE_CHAIN& chain) {
    for (DWORD i = 0; i < chain.cElement; ++i) {
      if (CertVerifyTimeValidity(nullptr, chain.rgpElement[i]->pCertContext->pCertInfo) < 0)
        return TlsProblem::notYetValid;
    }
    return TlsProblem::expired;
  }

  const CertificateReference certificate_;
  const std::string host_;
  DWORD status_ = 0;
  DWORD code_ = 0;
};

}  // namespace

[[gnu::cold]] TlsFinding checkCertificate(PCCERT_CONTEXT certificate, const std::string& host,
                                          const std::string& acceptedFingerprint, std::int64_t until) {
  TlsFinding finding;
  finding.certificateName = nameOf(certificate, namesOf(certificate));
  finding.fingerprint = fingerprintOf(certificate);
  if (!finding.fingerprint.empty() && finding.fingerprint == acceptedFingerprint) return finding;
  const auto check = std::make_shared<Check>(certificate, host);
  if (!doneInTime([check] { check->run(); }, until)) {
    finding.problem = TlsProblem::timedOut;
    finding.system = "certificate check";
    return finding;
  }
  finding.problem = check->faults.gravest();
  if (finding.problem != TlsProblem::none) finding.system = check->codes();
  return finding;
}

}  // namespace vornelle::win32
