// The engine with functions that behave as Windows does and Wine never: records in a made-up form
// (made_up_tls.h), given back as extra bytes, as "renegotiate" in TLS 1.3, with an end that is told.
#include "platform/win32/schannel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#define SCHANNEL_USE_BLACKLISTS
#include <schannel.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/unit/platform/common/made_up_tls.h"

namespace vornelle {

TlsFinding MadeUpEngine::check(std::int64_t /*until*/) {
  return {};
}

namespace {

using State = TlsEngine::State;

// What the made-up system does, and what it has been asked.
struct System {
  DWORD protocol = 0x800;
  bool olderForm = false;  // knows SCHANNEL_CRED alone
  SECURITY_STATUS acquire = SEC_E_OK;
  bool emptyAlerts = false;  // as Wine: an alert is a record without text
  DWORD longestMessage = 100;

  std::vector<DWORD> forms;
  DWORD disabled = 0;
  DWORD enabled = 0;
  std::wstring target = L"(none)";
  int contexts = 0, credentials = 0;  // made and not freed
  bool shutDown = false;
};
System* sys = nullptr;

constexpr ULONG_PTR kContext = 7;
constexpr ULONG_PTR kCredentials = 5;

struct Record {
  char type;
  std::string payload;
  std::size_t size;
};
// The first record of the bytes; size 0: it is not whole.
Record firstRecord(const SecBuffer& buffer) {
  const std::string bytes(static_cast<const char*>(buffer.pvBuffer), buffer.cbBuffer);
  if (bytes.size() < 5) return {0, "", 0};
  const std::size_t length = static_cast<std::size_t>(static_cast<unsigned char>(bytes[3]) << 8 |
                                                      static_cast<unsigned char>(bytes[4]));
  if (bytes.size() < 5 + length) return {0, "", 0};
  return {bytes[0], bytes.substr(5, length), 5 + length};
}

SECURITY_STATUS SEC_ENTRY acquire(SEC_WCHAR*, SEC_WCHAR* package, ULONG use, void*, void* data,
                                  SEC_GET_KEY_FN, void*, PCredHandle handle, PTimeStamp) {
  EXPECT_EQ(std::wstring(package), UNISP_NAME_W);
  EXPECT_EQ(use, static_cast<ULONG>(SECPKG_CRED_OUTBOUND));
  const DWORD form = *static_cast<DWORD*>(data);
  sys->forms.push_back(form);
  DWORD flags = 0;
  if (form == SCH_CREDENTIALS_VERSION) {
    const auto& given = *static_cast<SCH_CREDENTIALS*>(data);
    flags = given.dwFlags;
    sys->disabled = given.pTlsParameters->grbitDisabledProtocols;
    if (sys->olderForm) return SEC_E_UNKNOWN_CREDENTIALS;
  } else {
    const auto& given = *static_cast<SCHANNEL_CRED*>(data);
    flags = given.dwFlags;
    sys->enabled = given.grbitEnabledProtocols;
  }
  EXPECT_TRUE(flags & SCH_CRED_MANUAL_CRED_VALIDATION);
  EXPECT_TRUE(flags & SCH_CRED_NO_DEFAULT_CREDS);
  if (sys->acquire != SEC_E_OK) return sys->acquire;
  handle->dwLower = handle->dwUpper = kCredentials;
  ++sys->credentials;
  return SEC_E_OK;
}
SECURITY_STATUS SEC_ENTRY freeCredentials(PCredHandle handle) {
  EXPECT_EQ(handle->dwLower, kCredentials);
  --sys->credentials;
  return SEC_E_OK;
}
SECURITY_STATUS SEC_ENTRY deleteContext(PCtxtHandle handle) {
  EXPECT_EQ(handle->dwLower, kContext);
  --sys->contexts;
  return SEC_E_OK;
}
SECURITY_STATUS SEC_ENTRY freeBuffer(void* buffer) {
  delete[] static_cast<char*>(buffer);
  return SEC_E_OK;
}

SECURITY_STATUS SEC_ENTRY initialize(PCredHandle credentials, PCtxtHandle context, SEC_WCHAR* target,
                                     ULONG flags, ULONG, ULONG, PSecBufferDesc input, ULONG, PCtxtHandle made,
                                     PSecBufferDesc output, ULONG*, PTimeStamp) {
  EXPECT_EQ(credentials->dwLower, kCredentials);
  EXPECT_TRUE(flags & ISC_REQ_MANUAL_CRED_VALIDATION);
  EXPECT_TRUE(flags & ISC_REQ_ALLOCATE_MEMORY);
  const auto say = [&](const std::string& bytes) {
    SecBuffer& out = output->pBuffers[0];
    out.pvBuffer = std::memcpy(new char[bytes.size()], bytes.data(), bytes.size());
    out.cbBuffer = static_cast<ULONG>(bytes.size());
  };
  if (!context) {
    sys->target = target ? target : L"(null)";
    made->dwLower = made->dwUpper = kContext;
    ++sys->contexts;
    say(madeUpRecord(0x16, "hello"));
    return SEC_I_CONTINUE_NEEDED;
  }
  EXPECT_EQ(context->dwLower, kContext);
  if (sys->shutDown) {
    say(madeUpEnd());
    return SEC_E_OK;
  }
  SecBuffer& token = input->pBuffers[0];
  SecBuffer& extra = input->pBuffers[1];
  EXPECT_EQ(token.BufferType, static_cast<ULONG>(SECBUFFER_TOKEN));
  const Record record = firstRecord(token);
  if (record.size == 0) {
    extra.BufferType = SECBUFFER_MISSING;
    extra.cbBuffer = 1;
    return SEC_E_INCOMPLETE_MESSAGE;
  }
  if (record.type == 0x16 && record.payload == "certificate?" && !(flags & ISC_REQ_USE_SUPPLIED_CREDS)) {
    return SEC_I_INCOMPLETE_CREDENTIALS;
  }
  if (record.size < token.cbBuffer) {
    extra.BufferType = SECBUFFER_EXTRA;
    extra.cbBuffer = token.cbBuffer - static_cast<ULONG>(record.size);
    extra.pvBuffer = nullptr;  // only the number counts
  }
  if (record.type != 0x16) return SEC_E_ILLEGAL_MESSAGE;
  if (record.payload == "first") return say(madeUpRecord(0x16, "second")), SEC_I_CONTINUE_NEEDED;
  if (record.payload == "certificate?") return say(madeUpRecord(0x16, "none")), SEC_I_CONTINUE_NEEDED;
  if (record.payload == "ready" || record.payload == "ticket") return SEC_E_OK;
  if (record.payload == "update") return say(madeUpRecord(0x16, "updated")), SEC_E_OK;
  say(madeUpRecord(0x15, "\2\x28"));
  return SEC_E_ILLEGAL_MESSAGE;
}

SECURITY_STATUS SEC_ENTRY decrypt(PCtxtHandle context, PSecBufferDesc message, ULONG, ULONG*) {
  EXPECT_EQ(context->dwLower, kContext);
  SecBuffer* const buffers = message->pBuffers;
  EXPECT_EQ(message->cBuffers, 4u);
  const Record record = firstRecord(buffers[0]);
  if (record.size == 0) {
    buffers[1].BufferType = SECBUFFER_MISSING;
    buffers[1].cbBuffer = 3;
    return SEC_E_INCOMPLETE_MESSAGE;
  }
  char* const bytes = static_cast<char*>(buffers[0].pvBuffer);
  const auto rest = static_cast<ULONG>(buffers[0].cbBuffer - record.size);
  const auto giveExtra = [&](SecBuffer& buffer, ULONG size, char* start) {
    buffer = {size, SECBUFFER_EXTRA, start};
  };
  switch (record.type) {
    case 0x17: {
      const std::string text = turned(record.payload);
      std::memcpy(bytes + 5, text.data(), text.size());
      buffers[0] = {5, SECBUFFER_STREAM_HEADER, bytes};
      buffers[1] = {static_cast<ULONG>(text.size()), SECBUFFER_DATA, bytes + 5};
      buffers[2] = {0, SECBUFFER_STREAM_TRAILER, bytes + record.size};
      if (rest > 0) giveExtra(buffers[3], rest, bytes + record.size);
      return SEC_E_OK;
    }
    case 0x15:
      if (record.payload == std::string("\1\0", 2) && !sys->emptyAlerts) return SEC_I_CONTEXT_EXPIRED;
      if (!sys->emptyAlerts) return SEC_E_DECRYPT_FAILURE;
      if (rest > 0) giveExtra(buffers[1], rest, bytes + record.size);
      return SEC_E_OK;
    case 0x16:
      // The first buffer still says "data", and is the input.
      if (sys->protocol != 0x800) giveExtra(buffers[1], buffers[0].cbBuffer, bytes);
      return SEC_I_RENEGOTIATE;
    default:
      return SEC_E_MESSAGE_ALTERED;
  }
}

SECURITY_STATUS SEC_ENTRY encrypt(PCtxtHandle, ULONG, PSecBufferDesc message, ULONG) {
  SecBuffer* const buffers = message->pBuffers;
  const std::string text(static_cast<const char*>(buffers[1].pvBuffer), buffers[1].cbBuffer);
  EXPECT_LE(text.size(), sys->longestMessage);
  const std::string record = madeUpData(text);
  std::memcpy(buffers[0].pvBuffer, record.data(), 5);
  std::memcpy(buffers[1].pvBuffer, record.data() + 5, text.size());
  buffers[2].cbBuffer = 0;  // shorter than there was room for
  return SEC_E_OK;
}

SECURITY_STATUS SEC_ENTRY query(PCtxtHandle, ULONG what, void* answer) {
  if (what == SECPKG_ATTR_CONNECTION_INFO) {
    static_cast<SecPkgContext_ConnectionInfo*>(answer)->dwProtocol = sys->protocol;
    return SEC_E_OK;
  }
  if (what == SECPKG_ATTR_STREAM_SIZES) {
    auto& sizes = *static_cast<SecPkgContext_StreamSizes*>(answer);
    sizes.cbHeader = 5;
    sizes.cbTrailer = 9;
    sizes.cbMaximumMessage = sys->longestMessage;
    return SEC_E_OK;
  }
  return SEC_E_UNSUPPORTED_FUNCTION;
}
SECURITY_STATUS SEC_ENTRY control(PCtxtHandle, PSecBufferDesc message) {
  EXPECT_EQ(*static_cast<DWORD*>(message->pBuffers[0].pvBuffer), static_cast<DWORD>(SCHANNEL_SHUTDOWN));
  sys->shutDown = true;
  return SEC_E_OK;
}

SecurityFunctionTableW table() {
  SecurityFunctionTableW functions{};
  functions.AcquireCredentialsHandleW = acquire;
  functions.FreeCredentialsHandle = freeCredentials;
  functions.InitializeSecurityContextW = initialize;
  functions.DeleteSecurityContext = deleteContext;
  functions.FreeContextBuffer = freeBuffer;
  functions.DecryptMessage = decrypt;
  functions.EncryptMessage = encrypt;
  functions.QueryContextAttributesW = query;
  functions.ApplyControlToken = control;
  return functions;
}

class SchannelTest : public testing::Test {
 protected:
  SchannelTest() { sys = &system; }
  ~SchannelTest() override {
    engine.reset();
    EXPECT_EQ(system.contexts, 0);
    EXPECT_EQ(system.credentials, 0);
  }

  void make(const TlsPeer& peer = {"mail.example"}) { engine = win32::makeSchannelEngine(functions, peer); }

  struct Outcome {
    State state = State::failed;  // the last one
    std::string text;
    std::string sent;
    bool operator==(const Outcome&) const = default;
  };

  // A new engine that gets the pieces one by one, and does after each what can be done.
  Outcome play(const std::vector<std::string>& pieces) {
    make();
    Outcome outcome;
    bool up = false;
    outcome.state = engine->handshake();
    outcome.sent += engine->takeOutput();
    for (const std::string& piece : pieces) {
      if (outcome.state != State::wantsBytes) break;
      engine->receive(piece);
      if (!up) {
        outcome.state = engine->handshake();
        up = outcome.state == State::ready;
      }
      char buffer[16];
      std::size_t got = 0;
      while (up && (outcome.state = engine->read(buffer, sizeof buffer, got)) == State::ready) {
        outcome.text.append(buffer, got);
      }
      outcome.sent += engine->takeOutput();
    }
    return outcome;
  }

  // The same comes of it whole, at every cut in two, and byte by byte.
  void expectAtEveryCut(const std::string& bytes, const Outcome& expected) {
    const auto check = [&](const std::vector<std::string>& pieces, const std::string& how) {
      const Outcome outcome = play(pieces);
      EXPECT_EQ(outcome.state, expected.state) << how;
      EXPECT_EQ(outcome.text, expected.text) << how;
      EXPECT_EQ(outcome.sent, expected.sent) << how;
      engine.reset();
    };
    check({bytes}, "whole");
    for (std::size_t cut = 1; cut < bytes.size(); ++cut) {
      check({bytes.substr(0, cut), bytes.substr(cut)}, "cut at " + std::to_string(cut));
    }
    std::vector<std::string> single;
    for (const char c : bytes) single.emplace_back(1, c);
    check(single, "byte by byte");
  }

  System system;
  const SecurityFunctionTableW functions = table();
  std::unique_ptr<TlsEngine> engine;
};

const std::string kSent = madeUpRecord(0x16, "hello") + madeUpRecord(0x16, "second");

TEST_F(SchannelTest, AHandshakeAndTheTextBehindItAreWholeAtEveryCut) {
  expectAtEveryCut(
      madeUpHandshake() + madeUpData("+OK") + madeUpData("") + madeUpData("a longer text than the buffer"),
      {State::wantsBytes, "+OKa longer text than the buffer", kSent});
}

TEST_F(SchannelTest, AServerThatWantsACertificateHearsThatThereIsNone) {
  expectAtEveryCut(madeUpRecord(0x16, "first") + madeUpRecord(0x16, "certificate?") +
                       madeUpRecord(0x16, "ready") + madeUpData("+OK"),
                   {State::wantsBytes, "+OK", kSent + madeUpRecord(0x16, "none")});
}

TEST_F(SchannelTest, TicketsOfVersion13AreHandedBackAtEveryCut) {
  for (const DWORD protocol : {0x2000, 0}) {  // Wine calls it 0
    system.protocol = protocol;
    const std::string ticket = madeUpRecord(0x16, "ticket");
    expectAtEveryCut(madeUpHandshake() + ticket + ticket + madeUpData("+OK") + ticket + madeUpData("more"),
                     {State::wantsBytes, "+OKmore", kSent});
  }
}

TEST_F(SchannelTest, AnUpdateOfKeysIsAnsweredByARead) {
  system.protocol = 0x2000;
  expectAtEveryCut(madeUpHandshake() + madeUpRecord(0x16, "update") + madeUpData("+OK"),
                   {State::wantsBytes, "+OK", kSent + madeUpRecord(0x16, "updated")});
}

TEST_F(SchannelTest, ARenegotiationOfVersion12IsRefused) {
  expectAtEveryCut(madeUpHandshake() + madeUpData("+OK") + madeUpRecord(0x16, "ticket") + madeUpData("more"),
                   {State::failed, "+OK", kSent});
}

TEST_F(SchannelTest, AnEndThatIsToldIsOneAtEveryCut) {
  expectAtEveryCut(madeUpHandshake() + madeUpData("+OK") + madeUpEnd(), {State::closed, "+OK", kSent});
  play({madeUpHandshake() + madeUpEnd() + madeUpData("late")});
  char byte;
  std::size_t got = 0;
  EXPECT_EQ(engine->read(&byte, 1, got), State::closed);
}

TEST_F(SchannelTest, AnAlertWithoutTextInFrontOfTheEndOfTheLineIsAnEnd) {
  system.emptyAlerts = true;
  play({madeUpHandshake() + madeUpData("+OK") + madeUpEnd()});
  EXPECT_TRUE(engine->endsHere());
  engine->receive("x");
  EXPECT_FALSE(engine->endsHere());
  engine.reset();
  play({madeUpHandshake() + madeUpEnd() + madeUpData("+OK")});
  EXPECT_FALSE(engine->endsHere());
  engine.reset();
  play({madeUpHandshake() + madeUpData("")});
  EXPECT_FALSE(engine->endsHere());
}

TEST_F(SchannelTest, ARecordThatWasTamperedWithFailsForEver) {
  expectAtEveryCut(madeUpHandshake() + madeUpData("+OK") + madeUpRecord(0x20, "x"),
                   {State::failed, "+OK", kSent});
  play({madeUpHandshake() + madeUpRecord(0x20, "x") + madeUpData("late")});
  char byte;
  std::size_t got = 0;
  EXPECT_EQ(engine->read(&byte, 1, got), State::failed);
  EXPECT_EQ(engine->write("x"), State::failed);
  EXPECT_EQ(engine->failure().system, "Schannel 8009030f");
  EXPECT_EQ(engine->failure().problem, TlsProblem::refused);
}

TEST_F(SchannelTest, AHandshakeThatFailsLeavesItsAlertForThePeer) {
  expectAtEveryCut(madeUpRecord(0x16, "first") + madeUpRecord(0x16, "nonsense"),
                   {State::failed, "", kSent + madeUpRecord(0x15, "\2\x28")});
}

TEST_F(SchannelTest, ARecordWithoutEndFails) {
  play({madeUpHandshake()});
  std::string longest = "\x17\3\3\xFF\xFF";
  longest += std::string(65534, 'x');
  engine->receive(longest);
  char byte;
  std::size_t got = 0;
  EXPECT_EQ(engine->read(&byte, 1, got), State::failed);
}

TEST_F(SchannelTest, AVersionThatIsTooOldIsRefusedAfterTheHandshake) {
  for (const DWORD protocol : {0x8, 0x20, 0x80, 0x200}) {
    system.protocol = protocol;
    EXPECT_EQ(play({madeUpHandshake() + madeUpData("+OK")}).text, "");
    EXPECT_EQ(engine->failure().problem, TlsProblem::version);
    engine.reset();
  }
}

TEST_F(SchannelTest, OnlyOneVersionIsOffered) {
  make();
  EXPECT_EQ(system.disabled, ~DWORD{0x800});
  EXPECT_TRUE(engine->holdsBackNewest());
  make({"mail.example", "", TlsVersions::newest});
  EXPECT_EQ(system.disabled, ~DWORD{0x2000});
  EXPECT_FALSE(engine->holdsBackNewest());
}

TEST_F(SchannelTest, AWindowsThatKnowsTheOlderFormAloneGetsThat) {
  system.olderForm = true;
  EXPECT_EQ(play({madeUpHandshake() + madeUpData("+OK")}).text, "+OK");
  EXPECT_THAT(system.forms, testing::ElementsAre(SCH_CREDENTIALS_VERSION, SCHANNEL_CRED_VERSION));
  EXPECT_EQ(system.enabled, 0x800u);
}

TEST_F(SchannelTest, AWindowsWithoutTlsOrWithoutVersion13SaysSo) {
  system.acquire = SEC_E_SECPKG_NOT_FOUND;
  make();
  EXPECT_EQ(engine->handshake(), State::failed);
  EXPECT_EQ(engine->failure().problem, TlsProblem::unavailable);
  make({"mail.example", "", TlsVersions::newest});
  EXPECT_EQ(engine->handshake(), State::failed);
  EXPECT_EQ(engine->failure().problem, TlsProblem::version);
  system.acquire = SEC_E_INSUFFICIENT_MEMORY;
  make();
  EXPECT_EQ(engine->handshake(), State::failed);
  EXPECT_EQ(engine->failure().problem, TlsProblem::outOfMemory);
}

TEST_F(SchannelTest, TheServerHearsNamesInAsciiAndNoAddresses) {
  const auto told = [this](const std::string& host) {
    make({host});
    (void)engine->handshake();
    return system.target;
  };
  EXPECT_EQ(told("mail.example"), L"mail.example");
  EXPECT_EQ(told("mail.example."), L"mail.example");
  EXPECT_EQ(told("b\xFC"
                 "cher.example"),
            L"xn--bcher-kva.example");
  EXPECT_EQ(told("127.0.0.1"), L"(null)");
  EXPECT_EQ(told("::1"), L"(null)");
  EXPECT_EQ(told("[::1]"), L"(null)");
}

TEST_F(SchannelTest, AWriteMakesRecordsOfTheSizeThatTheSystemTakes) {
  play({madeUpHandshake()});
  EXPECT_EQ(engine->write(std::string(250, 'x')), State::ready);
  EXPECT_EQ(engine->takeOutput(), madeUpData(std::string(100, 'x')) + madeUpData(std::string(100, 'x')) +
                                      madeUpData(std::string(50, 'x')));
  EXPECT_EQ(engine->write(""), State::ready);
  EXPECT_EQ(engine->takeOutput(), "");
}

TEST_F(SchannelTest, ACloseIsSaidToThePeer) {
  play({madeUpHandshake()});
  engine->close();
  EXPECT_EQ(engine->takeOutput(), madeUpEnd());
}

TEST_F(SchannelTest, WithoutACertificateOfThePeerTheCheckFails) {
  play({madeUpHandshake()});
  EXPECT_EQ(engine->check(0).problem, TlsProblem::badCertificate);
}

}  // namespace
}  // namespace vornelle
