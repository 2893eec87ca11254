// TLS over any NetStream, done by the operating system's own means: Schannel on Windows, OpenSSL on Linux. It
// is laid over a connection that is open already, so it serves a connection that is encrypted at once (RFC
// 8314) as well as one that was asked for it in plain text (RFC 2595, RFC 3207).
//
// What is checked before a single byte of the caller's goes out: version 1.2 or newer; a chain to one of the
// system's roots, its dates and its purpose; keys of RSA of 2048 bits at least, signatures better than SHA-1;
// the name (RFC 9525: DNS names with one wildcard as the left-most label, an address against address entries
// only). No issuer is fetched from addresses inside a certificate, and revocation is not asked.
#pragma once

#include <memory>
#include <string>

#include "platform/net_stream.h"

namespace vornelle {

enum class TlsProblem {
  none,
  unavailable,  // this system, or this build of the program, has no TLS
  outOfMemory,
  timedOut,  // handshake and check took longer than the time-out
  closed,    // the peer closed or cut the line during the handshake
  notTls,    // the peer's first byte belongs to no TLS: it speaks something else on this port
  version,   // no version in common
  refused,   // the handshake failed for another reason: the peer's alert, or what it sent made no sense
  // What is wrong with the certificate. In all of these the result carries its name and fingerprint, where
  // there was one at all.
  wrongName,       // it is for another host
  expired,         // it, or one above it
  notYetValid,     // the same
  selfSigned,      // it vouches for itself
  untrusted,       // no chain to an authority that the system trusts: unknown, or an intermediate is missing
  wrongPurpose,    // it is not for servers
  weakKey,         // RSA below 2048 bits, in it or above it
  weakSignature,   // SHA-1 or older, in it or above it
  badCertificate,  // anything else: issued by what is no authority, damaged, against constraints
};

[[nodiscard]] constexpr bool isCertificateProblem(TlsProblem problem) {
  return problem >= TlsProblem::wrongName;
}

// What a handshake offers. Where a system's TLS 1.3 is less tried than its 1.2, `usual` offers 1.2 alone
// there, and TlsResult::newestMayDo tells when another connection with `newest` is worth it.
enum class TlsVersions {
  usual,   // 1.2 and 1.3, or 1.2 alone
  newest,  // 1.3 alone
};

struct TlsPeer {
  // As the user wrote it: a name, which may have letters of Windows-1252, or an address, with or without
  // brackets.
  std::string host;
  // SHA-256 of a certificate that is good whatever else is wrong with it; 64 hexadecimal digits in small
  // letters. "": none.
  std::string acceptedFingerprint = {};
  TlsVersions versions = TlsVersions::usual;
};

struct TlsResult {
  std::unique_ptr<NetStream> stream;  // null on failure; the connection is closed then
  TlsProblem problem = TlsProblem::none;
  bool newestMayDo = false;  // failed, and a new connection with TlsVersions::newest may work
  std::string protocol;      // "TLS 1.3"; "" where it is not known
  // Whom the certificate is for: printable ASCII, at most 255 characters; "": none seen.
  std::string certificateName;
  std::string fingerprint;  // SHA-256 of the peer's certificate as in TlsPeer; "": none seen
  std::string system;  // the system's own words or code for the log: one line of printable ASCII; may be ""
};

// Handshake and check of the certificate, both within the one time-out. On success the returned stream lies
// over the given one. It reads and writes like any other, with these differences:
//
// - read() gives 0 only where the peer has said that it ends (close_notify). A line that just closes is
//   broken: what came before may have been cut off. A time-out leaves the stream usable.
// - A read's wait starts anew with every piece of a record that arrives, at most ten times.
// - The destructor says close_notify if that takes no waiting.
[[nodiscard]] TlsResult startTls(std::unique_ptr<NetStream> plain, const TlsPeer& peer,
                                 int timeoutMilliseconds);

}  // namespace vornelle
