// What the system itself knows of a code page. Asked character by character, once for each code page.
#pragma once

#include <optional>
#include <string_view>

namespace vornelle {

class SystemCodePage {
 public:
  // By the number that Windows gives it.
  explicit SystemCodePage(int number);
  ~SystemCodePage();
  SystemCodePage(const SystemCodePage&) = delete;
  SystemCodePage& operator=(const SystemCodePage&) = delete;

  [[nodiscard]] bool known() const;
  // The one character of the first plane that the one or two bytes stand for; nullopt when they stand for
  // none.
  [[nodiscard]] std::optional<char16_t> character(std::string_view bytes) const;

 private:
  [[maybe_unused]] void* converter_ = nullptr;  // POSIX: of iconv
  [[maybe_unused]] int number_ = 0;             // Windows: 0 when there is no such code page
};

}  // namespace vornelle
