// The SpamBox: the folder "\spam" under the application folder, one text file for each message that the
// filter has caught. A file's name without ".txt" is the message's key; it tells the POP3 unique-id:
//
// - Most unique-ids are keys as they are: "UID123-45" is kept in "\spam\UID123-45.txt".
// - What a file system refuses, or what would leave the folder, is percent-encoded: "a/b:c" becomes
//   "a%2Fb%3Ac". That concerns < > : " / \ | ? * and control characters, a blank or dot at the end, the first
//   letter of a device name ("%43ON"), the dot of ".txt" inside ("a%2Etxt2"; listings cut a name at its first
//   ".txt"), and a percent sign that would read as an encoding.
// - File names ignore letter case and unique-ids do not; and Windows gives a file with a long name a short
//   one besides ("123456~1.txt"). Where a name is taken by the file of another key, capital letters and
//   tildes are percent-encoded as well, and where even that is taken, all letters.
//
// So a key can be decoded to one unique-id only, and two unique-ids never share a file. A message without a
// unique-id has no key and cannot be saved.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vornelle {

// "<application folder>\spam", which start-up makes, and "<application folder>\spam\<key>.txt".
[[nodiscard]] std::string spamFolder();
[[nodiscard]] std::string spamPath(std::string_view key);

// The key under which the message with this unique-id, which is not empty, is saved or would be saved.
[[nodiscard]] std::string spamKey(std::string_view uidl);
// How spamKey() chooses: the first of the key's three forms (no letters encoded beyond what must be, capitals
// encoded, all letters encoded) that is not taken, and the last one in any case. `isTaken` tells of a key
// whether there is a file under that name which belongs to another key.
[[nodiscard]] std::string firstFreeKey(std::string_view uidl,
                                       const std::function<bool(const std::string& key)>& isTaken);

// Saves the message's source, followed by CR LF, in place of an earlier file of that key. False when it could
// not be written whole, or the memory does not suffice; then nothing has changed.
[[nodiscard]] bool saveSpam(std::string_view key, std::string rawText);

// The same, but on the disk only when flushSpam() has said so; the other files of the same series are flushed
// with it.
[[nodiscard]] bool saveSpamUnflushed(std::string_view key, std::string rawText);
// Whether each of these files is on the disk.
[[nodiscard]] std::vector<bool> flushSpam(const std::vector<std::string>& keys);

// Leaves a file with nothing but CR LF for a message that could not be retrieved. A file that is there
// already stays as it is. False when there is no file afterwards.
[[nodiscard]] bool saveMissingSpam(std::string_view key);

// The number of files in the SpamBox.
[[nodiscard]] int countSpam();

struct SpamFile {
  std::string key;                    // the file's name up to its first ".txt"
  std::int64_t modifiedMilliseconds;  // when it was caught, since 1970-01-01 UTC
};

// The files in the SpamBox, in the order that the folder returns them.
[[nodiscard]] std::vector<SpamFile> listSpam();

// False when the file is not there or cannot be deleted.
[[nodiscard]] bool deleteSpam(std::string_view key);

}  // namespace vornelle
