#include "pages/page_links.h"

#include <algorithm>

#include "core/form1.h"
#include "core/settings.h"

namespace vornelle {
namespace {

constexpr int kMostChoices = 500;

int rowsOfPage() {
  return std::max<int>(settings.MESSAGES_PER_PAGE, 1);
}

}  // namespace

int pageStartOf(int row) {
  return std::max(row, 0) / rowsOfPage() * rowsOfPage();
}

std::string jumpForm(std::string_view page, const RowRange& range) {
  const int size = rowsOfPage();
  if (!form1.requestByGateway || range.total <= size) return "";
  const int pages = (range.total + size - 1) / size;
  const int step = size * ((pages + kMostChoices - 1) / kMostChoices);
  std::string form = "<form class='jump' method='get' action='" + std::string(page) + "' data-first='" +
                     std::to_string(range.first) + "' data-size='" + std::to_string(size) + "' data-total='" +
                     std::to_string(range.total) + "'>\r\n<input type='hidden' name='s' value='" +
                     form1.sessionId + "'><label for='jump'>Go to</label> <select id='jump' name='msg'>\r\n";
  for (int first = 0; first < range.total; first += step) {
    const bool here = range.first >= first && range.first < first + step;
    form += "<option value='" + std::to_string(first) + "'" + (here ? " selected" : "") + ">" +
            std::to_string(first + 1) + " - " + std::to_string(std::min<int>(first + size, range.total)) +
            "</option>\r\n";
  }
  return form + "</select> <button>Go</button>\r\n</form>";
}

}  // namespace vornelle
