#include "mail/mail_connector.h"

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "mail/tls_certificates.h"
#include "platform/clock.h"
#include "platform/net_stream.h"
#include "platform/tls.h"

namespace vornelle {
namespace {

MailReason reasonOf(NetProblem problem) {
  switch (problem) {
    case NetProblem::nameNotFound:
      return MailReason::nameNotFound;
    case NetProblem::refused:
      return MailReason::refused;
    case NetProblem::timedOut:
      return MailReason::timedOut;
    case NetProblem::none:
    case NetProblem::unreachable:
      break;
  }
  return MailReason::unreachable;
}

MailReason reasonOf(TlsProblem problem) {
  switch (problem) {
    case TlsProblem::none:
      return MailReason::none;
    case TlsProblem::unavailable:
      return MailReason::tlsMissing;
    case TlsProblem::outOfMemory:
      return MailReason::outOfMemory;
    case TlsProblem::timedOut:
      return MailReason::timedOut;
    case TlsProblem::closed:
      return MailReason::closed;
    case TlsProblem::notTls:
      return MailReason::tlsNotSpoken;
    case TlsProblem::version:
      return MailReason::tlsVersion;
    case TlsProblem::refused:
      return MailReason::tlsFailed;
    case TlsProblem::wrongName:
      return MailReason::certificateWrongName;
    case TlsProblem::expired:
      return MailReason::certificateExpired;
    case TlsProblem::notYetValid:
      return MailReason::certificateNotYetValid;
    case TlsProblem::selfSigned:
      return MailReason::certificateSelfSigned;
    case TlsProblem::untrusted:
      return MailReason::certificateUntrusted;
    case TlsProblem::weakKey:
    case TlsProblem::weakSignature:
      return MailReason::certificateWeak;
    case TlsProblem::wrongPurpose:
    case TlsProblem::badCertificate:
      break;
  }
  return MailReason::certificateBad;
}

// Takes what has passed since it was made from a time that is left.
class Spending {
 public:
  explicit Spending(int& left) : left_(left) {}
  ~Spending() {
    const std::int64_t spent = monotonicMilliseconds() - start_;
    left_ = static_cast<int>(std::max<std::int64_t>(left_ - spent, 0));
  }
  Spending(const Spending&) = delete;
  Spending& operator=(const Spending&) = delete;

 private:
  int& left_;
  std::int64_t start_ = monotonicMilliseconds();
};

}  // namespace

MailFailure lineFailure(MailFailure known, MailStep step, LineProblem problem, std::string words) {
  if (known.step == MailStep::none) known.step = step;
  if (known.reason == MailReason::none) {
    switch (problem) {
      case LineProblem::timedOut:
        known.reason = MailReason::timedOut;
        break;
      case LineProblem::closed:
        known.reason = MailReason::closed;
        break;
      case LineProblem::nonsense:
        known.reason = MailReason::nonsense;
        break;
      case LineProblem::none:
        if (!words.empty()) known.reason = MailReason::saidNo;
        break;
    }
  }
  const bool quotes = known.reason == MailReason::saidNo || known.reason == MailReason::nonsense ||
                      known.reason == MailReason::tlsNotOffered;
  if (quotes) known.words = std::move(words);
  return known;
}

ServerConnector::ServerConnector(std::string_view field, MailProtocol protocol, int timeoutMilliseconds)
    : text_(trim(field)),
      field_(parseServerField(field, protocol)),
      protocol_(protocol),
      timeout_(timeoutMilliseconds) {}

MailFailure ServerConnector::about() const {
  MailFailure failure;
  failure.protocol = protocol_;
  failure.host = field_.problem == MailReason::none ? field_.address.host : text_;
  failure.port = field_.address.port;
  failure.encrypted = field_.address.protection != Protection::none;
  return failure;
}

bool ServerConnector::upgrades() const {
  return field_.address.protection == Protection::startTls;
}

std::unique_ptr<NetStream> ServerConnector::open(MailFailure& failure) {
  const Spending spending(left_);
  NetProblem problem = NetProblem::none;
  auto stream = openNetStream(field_.address.host, field_.address.port, left_, &problem);
  if (!stream) {
    failure.step = MailStep::connecting;
    failure.reason = reasonOf(problem);
  }
  return stream;
}

MailConnector::Secured ServerConnector::startTlsOver(std::unique_ptr<NetStream> stream,
                                                     MailFailure& failure) {
  const Spending spending(left_);
  TlsPeer peer;
  peer.host = field_.address.host;
  peer.acceptedFingerprint = acceptedCertificate(field_.address.host, field_.address.port);
  peer.versions = newest_ ? TlsVersions::newest : TlsVersions::usual;
  TlsResult result = startTls(std::move(stream), peer, left_);
  if (result.problem == TlsProblem::none && result.stream) return {std::move(result.stream), false};

  failure.step = MailStep::securing;
  failure.reason = reasonOf(result.problem);
  if (isCertificateProblem(result.problem) && !peer.acceptedFingerprint.empty())
    failure.reason = MailReason::certificateChanged;
  failure.words = cleanedWords(result.system);
  failure.certificateName = result.certificateName;
  failure.fingerprint = result.fingerprint;
  failure.acceptedFingerprint = peer.acceptedFingerprint;
  if (failure.reason == MailReason::none) failure.reason = MailReason::tlsFailed;
  const bool again = result.newestMayDo && !newest_;
  if (again) {
    newest_ = true;
    firstReason_ = failure.reason;
  } else if (newest_ && failure.reason == MailReason::tlsVersion) {
    // The system that cannot offer the newest version says so; the server has said the other.
    failure.reason = firstReason_;
  }
  return {nullptr, again};
}

std::unique_ptr<NetStream> ServerConnector::connect(MailFailure& failure) {
  if (field_.problem != MailReason::none) {
    failure.reason = field_.problem;
    return nullptr;
  }
  if (!again_) left_ = timeout_;
  again_ = false;
  if (field_.address.protection != Protection::tls) return open(failure);
  for (;;) {
    std::unique_ptr<NetStream> stream = open(failure);
    if (!stream) return nullptr;
    Secured secured = startTlsOver(std::move(stream), failure);
    if (!secured.again) return std::move(secured.stream);
    failure = about();
  }
}

MailConnector::Secured ServerConnector::secure(std::unique_ptr<NetStream> stream, MailFailure& failure) {
  Secured secured = startTlsOver(std::move(stream), failure);
  again_ = secured.again;
  // The server has agreed to TLS: who answers the handshake in something else is not to be believed.
  if (failure.reason == MailReason::tlsNotSpoken) failure.reason = MailReason::tlsInjected;
  return secured;
}

}  // namespace vornelle
