#include "mail/spambox_store.h"

#include <new>
#include <stdexcept>

#include "base/text.h"
#include "platform/files.h"

namespace vornelle {
namespace {

constexpr std::string_view kEnding = ".txt";

enum class EncodedLetters { none, capitals, all };

bool isCapital(char c) {
  return toLowerChar(c) != c;
}

bool isLetter(char c) {
  return isCapital(c) || toUpperChar(c) != c;
}

bool isControl(char c) {
  // The last five are the holes of Windows-1252.
  constexpr std::string_view kControlsAbove = "\x7F\x81\x8D\x8F\x90\x9D";
  return static_cast<unsigned char>(c) < 0x20 || kControlsAbove.find(c) != std::string_view::npos;
}

// Windows takes such a name for the device, whatever ending follows it.
bool isDeviceName(std::string_view uidl) {
  const std::string_view name = trim(uidl.substr(0, uidl.find('.')));
  for (const std::string_view device : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$", "CLOCK$"}) {
    if (equalsNoCase(name, device)) return true;
  }
  // The digits of ports may be superscript ones.
  constexpr std::string_view kPortDigits = "0123456789\xB9\xB2\xB3";
  return name.size() == 4 && (startsWithNoCase(name, "COM") || startsWithNoCase(name, "LPT")) &&
         kPortDigits.find(name[3]) != std::string_view::npos;
}

// Whether the character at that place cannot stand for itself in a file name.
bool mustBeEncoded(std::string_view uidl, std::size_t at) {
  const char c = uidl[at];
  const std::string_view rest = uidl.substr(at);
  if (c == '%') return rest.size() >= 3 && hexDigitValue(rest[1]) >= 0 && hexDigitValue(rest[2]) >= 0;
  if (c == '.' && startsWithNoCase(rest, kEnding)) return true;
  if ((c == '.' || c == ' ') && rest.size() == 1) return true;
  constexpr std::string_view kRefused = "<>:\"/\\|?*";
  return isControl(c) || kRefused.find(c) != std::string_view::npos;
}

std::string encode(std::string_view uidl, EncodedLetters letters) {
  const bool device = isDeviceName(uidl);
  std::string key;
  for (std::size_t at = 0; at < uidl.size(); ++at) {
    const char c = uidl[at];
    const bool encodedByChoice = letters == EncodedLetters::all        ? isLetter(c) || c == '~'
                                 : letters == EncodedLetters::capitals ? isCapital(c) || c == '~'
                                                                       : false;
    if (encodedByChoice || (device && isLetter(c) && key.find('%') == std::string::npos) ||
        mustBeEncoded(uidl, at)) {
      const auto code = static_cast<unsigned char>(c);
      key.append({'%', kHexDigits[code >> 4], kHexDigits[code & 15]});
    } else {
      key += c;
    }
  }
  return key;
}

// True when the file of that key belongs to another key: the names differ in letter case, or the key is the
// short name that Windows gives a long one besides ("123456~1.txt").
bool isTaken(const std::string& key) {
  const std::string path = spamPath(key);
  return fileExists(path) && nameOnDisk(path) != key + std::string(kEnding);
}

// False when the memory does not suffice.
bool endLine(std::string& text) {
  try {
    text += kCrLf;
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  } catch (const std::length_error&) {
    return false;
  }
}

}  // namespace

std::string spamFolder() {
  return applicationFolder() + "\\spam";
}

std::string spamPath(std::string_view key) {
  return spamFolder().append("\\").append(key).append(kEnding);
}

std::string spamKey(std::string_view uidl) {
  return firstFreeKey(uidl, isTaken);
}

std::string firstFreeKey(std::string_view uidl, const std::function<bool(const std::string& key)>& isTaken) {
  for (const EncodedLetters letters : {EncodedLetters::none, EncodedLetters::capitals}) {
    std::string key = encode(uidl, letters);
    if (!isTaken(key)) return key;
  }
  // Nobody else's: without letters and tildes it is no other name in other letters, and no short name.
  return encode(uidl, EncodedLetters::all);
}

bool saveSpam(std::string_view key, std::string rawText) {
  return endLine(rawText) && writeFile(spamPath(key), rawText);
}

bool saveSpamUnflushed(std::string_view key, std::string rawText) {
  return endLine(rawText) && writeFileUnflushed(spamPath(key), rawText);
}

std::vector<bool> flushSpam(const std::vector<std::string>& keys) {
  std::vector<std::string> paths;
  paths.reserve(keys.size());
  for (const std::string& key : keys) paths.push_back(spamPath(key));
  return flushFiles(paths);
}

bool saveMissingSpam(std::string_view key) {
  const std::string path = spamPath(key);
  return fileExists(path) || writeFile(path, kCrLf);
}

int countSpam() {
  return static_cast<int>(listFolder(spamFolder(), kEnding).size());
}

std::vector<SpamFile> listSpam() {
  std::vector<SpamFile> files;
  for (FolderEntry& entry : listFolder(spamFolder(), kEnding)) {
    entry.name.resize(findNoCase(entry.name, kEnding));
    files.push_back({std::move(entry.name), entry.modifiedMilliseconds});
  }
  return files;
}

bool deleteSpam(std::string_view key) {
  return deleteFile(spamPath(key));
}

}  // namespace vornelle
