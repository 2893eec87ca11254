// The text of a multi-line answer (RFC 1939, 3): it comes in pieces, ends with the line that is a lone dot,
// and a line of the text that starts with a dot has another one put before it.
//
//     wire:  "Hello\r\n..signed\r\n.\r\n+OK"        text:  "Hello\r\n.signed\r\n"        left unread:  "+OK"
//
// A dot is taken away only where a second one follows: a server that stuffs nothing loses nothing, but for a
// line of the text that is a lone dot itself. Only CR LF ends a line, since a lone LF may be part of a
// message, unless the server ends its own lines so.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace vornelle {

class DotStuffedText {
 public:
  // `take` gets the text in pieces, byte for byte but for the dots that were stuffed; never more than `limit`
  // bytes in all. bareLineFeeds: the server ends its lines with LF alone.
  DotStuffedText(bool bareLineFeeds, std::size_t limit, std::function<void(std::string_view)> take);

  // The next bytes from the wire. The result is how many of them were read: all, unless the text ended before
  // them.
  std::size_t read(std::string_view wire);

  // The line with the lone dot has been read.
  [[nodiscard]] bool ended() const { return state_ == State::ended; }

  // The text is longer than the limit. What follows is not looked at.
  [[nodiscard]] bool tooLong() const { return tooLong_; }

  // The last that came was a dot at a line's end, CR LF behind it, and that is not taken yet. There are
  // servers that do not end a text's last line before the lone dot; from such a one nothing more will come.
  [[nodiscard]] bool mayHaveEnded() const;

 private:
  enum class State {
    lineStart,
    dot,        // behind a dot that is a line's first character
    dotReturn,  // behind that dot and a CR
    inLine,
    afterReturn,  // behind a CR that is part of the text so far
    ended,
  };

  [[nodiscard]] State after(char c, State before) const;
  void give(std::string_view piece);
  void giveButHoldEnd(std::string_view piece);

  bool bareLineFeeds_;
  std::size_t limit_;
  std::function<void(std::string_view)> take_;
  State state_ = State::lineStart;
  std::size_t taken_ = 0;
  bool tooLong_ = false;
  // The last bytes of the text so far, at most three: they may be its end and no part of it.
  std::string held_;
};

}  // namespace vornelle
