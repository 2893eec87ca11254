#include "mail/entry_doubts.h"

#include <algorithm>
#include <cstddef>

#include "base/characters.h"
#include "base/text.h"
#include "core/letter_case.h"
#include "core/settings.h"
#include "mail/filter_lists.h"

namespace vornelle {
namespace {

constexpr std::size_t kFewLetters = 5;

// Where everybody can have an address.
constexpr std::string_view kProviders[] = {
    "gmail.com",      "googlemail.com", "yahoo.com",     "yahoo.co.uk",   "yahoo.co.jp", "yahoo.co.in",
    "yahoo.de",       "yahoo.fr",       "yahoo.it",      "ymail.com",     "outlook.com", "outlook.de",
    "outlook.fr",     "hotmail.com",    "hotmail.co.uk", "hotmail.de",    "hotmail.fr",  "hotmail.it",
    "live.com",       "live.co.uk",     "live.de",       "live.fr",       "msn.com",     "aol.com",
    "icloud.com",     "me.com",         "mac.com",       "gmx.de",        "gmx.net",     "gmx.com",
    "gmx.at",         "gmx.ch",         "web.de",        "t-online.de",   "freenet.de",  "ionos.com",
    "mail.com",       "mail.ru",        "bk.ru",         "list.ru",       "inbox.ru",    "yandex.ru",
    "yandex.com",     "rambler.ru",     "qq.com",        "163.com",       "126.com",     "sina.com",
    "naver.com",      "daum.net",       "hanmail.net",   "orange.fr",     "wanadoo.fr",  "free.fr",
    "laposte.net",    "sfr.fr",         "libero.it",     "virgilio.it",   "alice.it",    "tin.it",
    "seznam.cz",      "wp.pl",          "o2.pl",         "interia.pl",    "onet.pl",     "btinternet.com",
    "comcast.net",    "verizon.net",    "att.net",       "sbcglobal.net", "cox.net",     "charter.net",
    "proton.me",      "protonmail.com", "fastmail.com",  "zoho.com",      "posteo.de",   "mailbox.org",
    "rediffmail.com", "uol.com.br",     "bol.com.br",    "terra.com.br",  "telenet.be",  "skynet.be",
    "bluewin.ch",     "ziggo.nl",       "kpnmail.nl",    "bigpond.com",   "rogers.com",  "sympatico.ca",
};

std::size_t lettersIn(std::string_view text) {
  std::size_t count = 0;
  for (; !text.empty(); ++count) text.remove_prefix(textCharacter(text).length);
  return count;
}

// ".info", which every address of that kind ends in.
bool isTopDomain(std::string_view entry) {
  return entry.size() > 1 && entry.front() == '.' && entry.find_first_of(".@ ", 1) == std::string_view::npos;
}

// The user's own addresses.
std::vector<std::string> ownAddresses() {
  std::vector<std::string> own;
  for (const std::string& setting : {settings.EMAIL_ADDRESS, settings.POP_ACCOUNT}) {
    const std::string address(trim(setting));
    const bool told = !own.empty() && sameLetters(own.front(), address);
    if (address.find('@') != std::string::npos && !told) own.push_back(address);
  }
  return own;
}

std::string inQuotes(std::string_view text) {
  return "\"" + std::string(text) + "\"";
}

}  // namespace

EntryDoubts::EntryDoubts(std::string_view listName)
    : senders_(!equalsNoCase(listName, kSubjectList)),
      enemy_(equalsNoCase(listName, kEnemyList)),
      other_(senders_ ? listLines(enemy_ ? kFriendList : kEnemyList).value_or(std::vector<std::string>{})
                      : std::vector<std::string>{}),
      otherMatcher_(other_) {}

std::vector<std::string> EntryDoubts::of(std::string_view entry) const {
  std::vector<std::string> doubts;
  const std::string form = searchForm(trim(entry));
  if (form.empty()) return doubts;
  // 1. What is too short or too common to mean anybody.
  if (lettersIn(trim(entry)) < kFewLetters) {
    doubts.emplace_back("It has fewer than five letters.");
  } else if (senders_ && form.find_first_of("@.") == std::string::npos) {
    doubts.emplace_back(
        "It has neither \"@\" nor \".\", so it matches wherever these letters stand in a name or an "
        "address.");
  }
  if (!senders_) return doubts;
  if (isTopDomain(form))
    doubts.push_back("It matches every address that ends in " + inQuotes(trim(entry)) + ".");
  const auto provider =
      std::find_if(std::begin(kProviders), std::end(kProviders), [&](std::string_view domain) {
        return ("@" + std::string(domain) + ">").find(form) != std::string::npos;
      });
  if (provider != std::end(kProviders))
    doubts.push_back("It matches everybody who has an address at " + std::string(*provider) + ".");

  // 2. Oneself.
  for (const std::string& address : ownAddresses()) {
    const std::string own = searchForm(address);
    if (("<" + own + ">").find(form) == std::string::npos && form.find(own) == std::string::npos) continue;
    doubts.push_back("It matches your own address " + address +
                     (enemy_ ? ": mail that you send to yourself would be spam."
                             : ", which much spam claims to come from."));
  }
  addOtherList(doubts, entry);
  return doubts;
}

void EntryDoubts::addOtherList(std::vector<std::string>& doubts, std::string_view entry) const {
  const std::string form = searchForm(trim(entry));
  // An enemy takes effect in spite of every friend that it matches.
  if (enemy_) {
    const auto friendly = std::find_if(other_.begin(), other_.end(), [&](const std::string& line) {
      return searchForm(line).find(form) != std::string::npos;
    });
    if (friendly != other_.end())
      doubts.push_back("The FriendList has " + inQuotes(trim(*friendly)) +
                       ", whose mail would be spam from then on.");
    return;
  }
  if (!otherMatcher_.matches(entry)) return;
  const auto wins = std::find_if(other_.begin(), other_.end(), [&](const std::string& line) {
    return !trim(line).empty() && form.find(searchForm(line)) != std::string::npos;
  });
  if (wins != other_.end())
    doubts.push_back("The EnemyList has " + inQuotes(trim(*wins)) +
                     ", which wins: this mail stays spam until you remove it there.");
}

}  // namespace vornelle
