// Messages as they really come: each is small, has one oddity, and says what a person should see of it.
#include <gtest/gtest.h>

#include <string>

#include "base/characters.h"
#include "base/text.h"
#include "mail/mail_component.h"
#include "mail/message_parser.h"

namespace vornelle {
namespace {

struct OddMessage {
  const char* oddity;
  std::string source;  // with lone line feeds
  const char* from;    // in UTF-8, as the rest
  const char* subject;
  const char* body;  // what is shown of it: the HTML text, else the plain one, else what there is
};

// The usual fields in front of whatever follows.
std::string head(const std::string& more) {
  return "From: Ann <ann@x.example>\nSubject: Hello\n" + more;
}
constexpr const char* kAnn = "Ann <ann@x.example>";

OddMessage subject(const char* oddity, const std::string& field, const char* shown) {
  return {oddity, "From: Ann <ann@x.example>\nSubject: " + field + "\n\nHi\n", kAnn, shown, "Hi"};
}
OddMessage from(const char* oddity, const std::string& field, const char* shown) {
  return {oddity, "From: " + field + "\nSubject: Hello\n\nHi\n", shown, "Hello", "Hi"};
}
OddMessage body(const char* oddity, const std::string& rest, const char* shown) {
  return {oddity, head(rest), kAnn, "Hello", shown};
}

const OddMessage kOddMessages[] = {
    {"a header that runs into its boundary",
     "Subject: Hello\nContent-Type: multipart/alternative; boundary=bb\nFrom: Ann "
     "<ann@x.example>\n--bb\nContent-Type: text/plain\nSubject: of the part\nFrom: "
     "part@x.example\n\nHi\n--bb--\n",
     "Ann <ann@x.example>", "Hello", "Hi"},
    {"only the fields of the part are left of it",
     "Content-Type: multipart/alternative; boundary=bb\nFrom: Ann <ann@x.example>\n--bb\nContent-Type: "
     "text/plain\nSubject: of the part\nFrom: part@x.example\n\nHi\n--bb--\n",
     "Ann <ann@x.example>", "", "Hi"},
    body("an empty line that holds a blank in front of the boundary",
         "Content-Type: multipart/alternative; boundary=bb\n \n--bb\nContent-Type: text/plain\nSubject: of "
         "the part\nFrom: part@x.example\n\nHi\n--bb--\n",
         "Hi"),
    body("an empty line that holds a tab in front of the boundary",
         "Content-Type: multipart/alternative; boundary=bb\n\t\n--bb\nContent-Type: text/plain\nSubject: of "
         "the part\nFrom: part@x.example\n\nHi\n--bb--\n",
         "Hi"),
    body("an empty line of blanks in front of the text", "X-Other: 1\n  \nHi there\n\nSecond paragraph\n",
         "Hi there\n\nSecond paragraph"),
    {"a field of blanks and a continuation is none of these",
     "From: Ann <ann@x.example>\nSubject: Hello\n \n  you\n\nHi\n", "Ann <ann@x.example>", "Hello   you",
     "Hi"},
    body("a quoted boundary that the header runs into",
         "Content-Type: multipart/mixed; boundary=\"=_a b:c\"\n--=_a b:c\n\nHi\n--=_a b:c--\n", "Hi"),
    body("an inner header that runs into its boundary",
         "Content-Type: multipart/mixed; boundary=out\n\n--out\nContent-Type: multipart/alternative; "
         "boundary=in\n--in\nContent-Type: text/html\n\n<p>Hi\n--in--\n--out--\n",
         "<p>Hi"),
    body("two hyphens in front of a text are no boundary", "\n-- \nHi\n", "-- \nHi"),
    subject("a question mark in a Q word", "=\?iso-8859-1\?Q\?How are you\?\?=", "How are you\?"),
    subject("several question marks in a Q word", "=\?utf-8\?Q\?What\?\?_Really\?\?=", "What\?\? Really\?"),
    subject("a question mark in front of an escape", "=\?utf-8\?Q\?Caf=C3=A9\?=3F\?=", "Caf\xC3\xA9\?\?"),
    subject("a question mark in the midst of a Q word",
            "=\?utf-8\?Q\?Caf=C3=A9\? Now\?=", "Caf\xC3\xA9\? Now"),
    subject("a word glued to digits is over", "=\?utf-8\?Q\?Caf=C3=A9\?=10 off",
            "Caf\xC3\xA9"
            "10 off"),
    subject("two Q words without a blank between them", "=\?utf-8\?Q\?a\?==\?utf-8\?Q\?b\?=", "ab"),
    subject("a Q word folded in its midst", "=\?utf-8\?Q\?Gr=C3=BC=C3=9Fe\n _aus_Bonn\?=",
            "Gr\xC3\xBC\xC3\x9F"
            "e  aus Bonn"),
    subject("an underline and a blank", "=\?utf-8\?q\?a_b c\?=", "a b c"),
    subject("small hexadecimal digits", "=\?utf-8\?q\?=c3=bc\?=", "\xC3\xBC"),
    subject("a B word folded in its midst", "=\?utf-8\?B\?0J/RgNC40L\n LQtdGCLCDQvNC40YA=\?=",
            "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82, \xD0\xBC\xD0\xB8\xD1\x80"),
    subject("a B word with blanks in it", "=\?utf-8\?B\?0J/RgNC4  0LLQtdGCLCDQvNC40YA= \?=",
            "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82, \xD0\xBC\xD0\xB8\xD1\x80"),
    subject("a B word without its padding", "=\?utf-8\?B\?aGVsbG8\?=", "hello"),
    subject("a character split between two B words",
            "=\?utf-8\?B\?0J/R\?= =\?utf-8\?B\?gA==\?=", "\xD0\x9F\xD1\x80"),
    subject("words in two sets",
            "=\?koi8-r\?B\?5ME=\?= =\?utf-8\?Q\?=E4=BD=A0\?=", "\xD0\x94\xD0\xB0\xE4\xBD\xA0"),
    subject("a language in a word", "=\?utf-8*ru\?B\?0J/RgNC40LLQtdGCLCDQvNC40YA=\?=",
            "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82, \xD0\xBC\xD0\xB8\xD1\x80"),
    subject("a set named in an unusual way", "=\?UTF8\?B\?0J/RgNC40LLQtdGCLCDQvNC40YA=\?=",
            "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82, \xD0\xBC\xD0\xB8\xD1\x80"),
    subject("a set that says nothing", "=\?unknown-8bit\?Q\?Gr=FC=DFe\?=",
            "Gr\xC3\xBC\xC3\x9F"
            "e"),
    subject("a set that nobody knows", "=\?x-klingon\?Q\?abc\?=", "=\?x-klingon\?Q\?abc\?="),
    subject("UTF-7 stays as it is", "=\?utf-7\?Q\?Hi_+ADw-b+AD4-\?=", "Hi +ADw-b+AD4-"),
    subject("a stateful set in two words",
            "=\?iso-2022-jp\?B\?GyRCJDMkcyRLGyhC\?=\n =\?iso-2022-jp\?B\?GyRCJEEkTxsoQg==\?=",
            "\xE3\x81\x93\xE3\x82\x93\xE3\x81\xAB\xE3\x81\xA1\xE3\x81\xAF"),
    subject("a Shift_JIS word",
            "=\?shift_jis\?B\?g0qDXoNKg2k=\?=", "\xE3\x82\xAB\xE3\x82\xBF\xE3\x82\xAB\xE3\x83\x8A"),
    subject("a Korean word by its old name", "=\?ks_c_5601-1987\?B\?vsiz5w==\?=", "\xEC\x95\x88\xEB\x85\x95"),
    subject("a Chinese word with a letter that the named set lacks", "=\?gb2312\?B\?6UY=\?=", "\xE9\x95\x95"),
    subject("an emoji", "=\?utf-8\?B\?8J+RjfCfj70gb2s=\?=", "\xF0\x9F\x91\x8D\xF0\x9F\x8F\xBD ok"),
    subject("a combining accent", "=\?utf-8\?Q\?e=CC=81\?=", "e\xCC\x81"),
    subject("half a character", "=\?utf-8\?Q\?a=E4=BD_b\?=", "a\? b"),
    subject("raw UTF-8", "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82",
            "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82"),
    subject("raw bytes of nobody knows what",
            "Gr\xFC\xDF"
            "e",
            "Gr\xC3\xBC\xC3\x9F"
            "e"),
    subject("a word in the middle of raw text", "Re: =\?utf-8\?Q\?=D0=9F\?= (fwd)", "Re: \xD0\x9F (fwd)"),
    subject("a line end hidden in a word", "=\?utf-8\?Q\?a=0D=0AX-Evil:_1\?=", "a  X-Evil: 1"),
    {"raw bytes in the set of the body",
     "From: \xE9\xD7\xC1\xCE <i@x.example>\nSubject: \xF0\xD2\xC9\xD7\xC5\xD4\nContent-Type: text/plain; "
     "charset=koi8-r\n\n\xE4\xC1\n",
     "\u0418\u0432\u0430\u043d <i@x.example>", "\u041f\u0440\u0438\u0432\u0435\u0442", "\u0414\u0430"},
    {"raw escapes in the set of the body",
     "From: Ann <ann@x.example>\nSubject: \x1B$B$3$s\x1B(B\nContent-Type: text/plain; "
     "charset=iso-2022-jp\n\n\x1B$B$K\x1B(B\n",
     "Ann <ann@x.example>", "\u3053\u3093", "\u306b"},
    from("a word in quotes", "\"=\?utf-8\?B\?0JjQstCw0L0=\?=\" <i@x.example>",
         "\"\xD0\x98\xD0\xB2\xD0\xB0\xD0\xBD\" <i@x.example>"),
    from("a word glued to the address", "=\?utf-8\?B\?0JjQstCw0L0=\?=<i@x.example>",
         "\xD0\x98\xD0\xB2\xD0\xB0\xD0\xBD<i@x.example>"),
    from("a folded name",
         "=\?utf-8\?B\?0JjQstCw0L0=\?=\n\t=\?utf-8\?B\?INCf0LXRgtGA0L7Qsg==\?=\n <i@x.example>",
         "\xD0\x98\xD0\xB2\xD0\xB0\xD0\xBD \xD0\x9F\xD0\xB5\xD1\x82\xD1\x80\xD0\xBE\xD0\xB2 <i@x.example>"),
    from("a comment", "i@x.example (=\?koi8-r\?Q\?=E9\?=)", "i@x.example (\xD0\x98)"),
    from("a name with a comma in a word", "=\?utf-8\?Q\?Petrov=2C_Ivan\?= <i@x.example>",
         "Petrov, Ivan <i@x.example>"),
    body("no semicolon in front of charset",
         "Content-Type: text/html charset=utf-8\n\n<p>Gr\xC3\xBC\xC3\x9F"
         "e, \xD0\xBC\xD0\xB8\xD1\x80</p>\n",
         "<p>Gr\xC3\xBC\xC3\x9F"
         "e, \xD0\xBC\xD0\xB8\xD1\x80</p>"),
    body("no semicolon in front of boundary, which is folded",
         "Content-Type: multipart/mixed\n boundary=\"bb\"\n\n--bb\n\nHi\n--bb--\n", "Hi"),
    body("no semicolon between two parameters",
         "Content-Type: text/plain; format=flowed charset=koi8-r\n\n\xE4\xC1\n", "\xD0\x94\xD0\xB0"),
    body("a comma for a semicolon", "Content-Type: text/plain, charset=koi8-r\n\n\xE4\xC1\n",
         "\xD0\x94\xD0\xB0"),
    body("a quote that is not closed",
         "Content-Type: text/plain; charset=\"koi8-r; format=flowed\n\n\xE4\xC1\n", "\xD0\x94\xD0\xB0"),
    body("a set in single quotes", "Content-Type: text/plain; charset='koi8-r'\n\n\xE4\xC1\n",
         "\xD0\x94\xD0\xB0"),
    body("blanks around the equals sign", "Content-Type: text/plain; charset = koi8-r\n\n\xE4\xC1\n",
         "\xD0\x94\xD0\xB0"),
    body("a comment behind the set", "Content-Type: text/plain; charset=koi8-r (Russian)\n\n\xE4\xC1\n",
         "\xD0\x94\xD0\xB0"),
    body("an extended charset", "Content-Type: text/plain; charset*=us-ascii'en'koi8-r\n\n\xE4\xC1\n",
         "\xD0\x94\xD0\xB0"),
    body("a boundary in two pieces",
         "Content-Type: multipart/mixed; boundary*0=\"b\"; boundary*1=b\n\n--bb\n\nHi\n--bb--\n", "Hi"),
    body("a boundary in encoded pieces out of order",
         "Content-Type: multipart/mixed; boundary*1*=%62; "
         "boundary*0*=us-ascii''b%3D\n\n--b=b\n\nHi\n--b=b--\n",
         "Hi"),
    body("a multipart without a subtype", "Content-Type: multipart; boundary=bb\n\n--bb\n\nHi\n--bb--\n",
         "Hi"),
    body("a type in quotes",
         "Content-Type: \"text/html\"; charset=utf-8\n\n<p>Gr\xC3\xBC\xC3\x9F"
         "e, \xD0\xBC\xD0\xB8\xD1\x80</p>\n",
         "<p>Gr\xC3\xBC\xC3\x9F"
         "e, \xD0\xBC\xD0\xB8\xD1\x80</p>"),
    body("a set for a set that nobody knows",
         "Content-Type: text/plain; charset=unheard-of\n\nGr\xC3\xBC\xC3\x9F"
         "e\n",
         "Gr\xC3\xBC\xC3\x9F"
         "e"),
    body("an HTML text that names its set",
         "Content-Type: text/html\n\n<meta http-equiv=\"Content-Type\" content=\"text/html; "
         "charset=koi8-r\">\xE4\xC1\n",
         "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=koi8-r\">\xD0\x94\xD0\xB0"),
    body("an HTML text that names its set in short",
         "Content-Type: text/html\n\n<META CHARSET = 'windows-1251' />\xC4\xE0\n",
         "<META CHARSET = 'windows-1251' />\xD0\x94\xD0\xB0"),
    body("an HTML text that names a set which it cannot be in",
         "Content-Type: text/html\n\n<meta charset=utf-16>Gr\xC3\xBC\xC3\x9F"
         "e\n",
         "<meta charset=utf-16>Gr\xC3\xBC\xC3\x9F"
         "e"),
    body("the label counts more than the text",
         "Content-Type: text/html; charset=utf-8\n\n<meta http-equiv=\"Content-Type\" content=\"text/html; "
         "charset=koi8-r\">\xD0\x94\xD0\xB0\n",
         "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=koi8-r\">\xD0\x94\xD0\xB0"),
    body("a meta element that only speaks of it",
         "Content-Type: text/html\n\n<meta name=\"charset\"><meta charset=\"shift_jis\">\x83J\x83i\n",
         "<meta name=\"charset\"><meta charset=\"shift_jis\">\xE3\x82\xAB\xE3\x83\x8A"),
    body("a message with nothing but a message in it",
         "Content-Type: message/rfc822\n\nFrom: x@y\nSubject: inner\n\nInner text\n", "Inner text"),
    body("a multipart with nothing but a message in it",
         "Content-Type: multipart/mixed; boundary=bb\n\n--bb\nContent-Type: message/rfc822\n\nSubject: "
         "inner\nContent-Type: text/html; charset=utf-8\n\n<p>\xD0\x94\xD0\xB0\n--bb--\n",
         "<p>\xD0\x94\xD0\xB0"),
    body("an attached message with nothing beside it",
         "Content-Type: multipart/mixed; boundary=bb\n\n--bb\nContent-Type: "
         "message/rfc822\nContent-Disposition: attachment\n\nSubject: inner\n\nInner\n--bb--\n",
         "Inner"),
    body("a text in front of an attached message",
         "Content-Type: multipart/mixed; boundary=bb\n\n--bb\n\nSee below\n--bb\nContent-Type: "
         "message/rfc822\n\nSubject: inner\nContent-Type: text/html\n\n<p>Inner\n--bb--\n",
         "See below"),
    body("a digest",
         "Content-Type: multipart/digest; boundary=bb\n\n--bb\n\nSubject: one\n\nFirst\n--bb\n\nSubject: "
         "two\n\nSecond\n--bb--\n",
         "First"),
    body("nothing but an attached text",
         "Content-Type: text/plain; charset=utf-8\nContent-Disposition: attachment; "
         "filename=a.txt\nContent-Transfer-Encoding: base64\n\n0JTQsCwg0LzQuNGA\n",
         "\xD0\x94\xD0\xB0, \xD0\xBC\xD0\xB8\xD1\x80"),
    body("an HTML text in a related part in an alternative",
         "Content-Type: multipart/alternative; boundary=a\n\n--a\n\nplain\n--a\nContent-Type: "
         "multipart/related; boundary=r\n\n--r\nContent-Type: text/html; "
         "charset=utf-8\n\n<p>\xD0\x94\xD0\xB0\n--r\nContent-Type: image/png\n\nx\n--r--\n--a--\n",
         "<p>\xD0\x94\xD0\xB0"),
    body("a report",
         "Content-Type: multipart/report; boundary=bb\n\n--bb\n\nNot delivered\n--bb\nContent-Type: "
         "message/delivery-status\n\nStatus: 5.1.1\n--bb\nContent-Type: message/rfc822\n\nSubject: x\n\nThe "
         "message\n--bb--\n",
         "Not delivered"),
    body("a part that never ends",
         "Content-Type: multipart/mixed; boundary=bb\n\n--bb\nContent-Type: text/html\n\n<p>Hi\n", "<p>Hi"),
    body("a text before the first boundary",
         "Content-Type: multipart/mixed; boundary=bb\n\nThis is a MIME message.\n--bb\n\nHi\n--bb--\n", "Hi"),
    body("an encoding in capitals with a blank",
         "Content-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: Quoted-Printable "
         "\n\nGr=C3=BC=C3=9Fe=\n!\n",
         "Gr\xC3\xBC\xC3\x9F"
         "e!"),
    body("an encoding with a comment",
         "Content-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: base64 (as ever)\n\n0JTQsA==\n",
         "\xD0\x94\xD0\xB0"),
    body(
        "a body in UTF-16",
        "Content-Type: text/plain; charset=utf-16le\nContent-Transfer-Encoding: base64\n\nFAQwBCAAPdgA3g==\n",
        "\xD0\x94\xD0\xB0 \xF0\x9F\x98\x80"),
    body("a body with a mark that says UTF-8", "\n\xEF\xBB\xBF\xD0\x94\xD0\xB0\n", "\xD0\x94\xD0\xB0"),
};

std::string shownBody(const MailMessage& message) {
  std::string text = message.hasHtmlBody()    ? message.getHtmlBody()
                     : message.hasPlainBody() ? message.getPlainBody()
                                              : message.getBodyText(0);
  text = replaceAll(text, "\r\n", "\n");
  while (text.ends_with('\n')) text.pop_back();
  return toUtf8(text);
}

TEST(OddMessages, ThereAreEnoughOfThem) {
  EXPECT_GE(std::size(kOddMessages), 60U);
}

TEST(OddMessages, AreReadAsAPersonWouldReadThem) {
  for (const OddMessage& odd : kOddMessages) {
    for (const char* lineEnd : {"\r\n", "\n"}) {
      const MailMessage message = parseMessage(replaceAll(odd.source, "\n", lineEnd));
      EXPECT_EQ(odd.from, toUtf8(message.getFromAddress())) << odd.oddity;
      EXPECT_EQ(odd.subject, toUtf8(message.getSubject())) << odd.oddity;
      EXPECT_EQ(odd.body, shownBody(message)) << odd.oddity;
    }
  }
}

// The filter judges by the header alone.
TEST(OddMessages, HaveTheSameSenderAndSubjectWithoutTheirBody) {
  for (const OddMessage& odd : kOddMessages) {
    const MailMessage header = parseMessageHeader(replaceAll(odd.source, "\n", "\r\n"));
    EXPECT_EQ(odd.from, toUtf8(header.getFromAddress())) << odd.oddity;
    EXPECT_EQ(odd.subject, toUtf8(header.getSubject())) << odd.oddity;
  }
}

}  // namespace
}  // namespace vornelle
