// What POP3 and SMTP have in common on the wire: commands out, lines and dot-terminated texts in, every wait
// and every length bounded. After the first failure the stream is dead: every later call fails at once and
// nothing is sent.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vornelle {

class NetStream;

inline constexpr std::size_t kLongestAnswerLine = 64U << 10;

// What killed a stream.
enum class LineProblem {
  none,      // it lives, never was, or was given up by its owner
  timedOut,  // nothing came in time, or too little
  closed,    // by the peer, or the line was cut
  nonsense,  // what came cannot be an answer
};

class LineStream {
 public:
  // A null stream is dead from the start.
  LineStream(std::unique_ptr<NetStream> stream, int timeoutMilliseconds);
  ~LineStream();
  LineStream(const LineStream&) = delete;
  LineStream& operator=(const LineStream&) = delete;

  [[nodiscard]] bool alive() const { return stream_ != nullptr; }
  // Closes the connection. Only what killed it first is remembered.
  void kill(LineProblem why = LineProblem::nonsense);
  [[nodiscard]] LineProblem problem() const { return problem_; }

  // The two halves of an upgrade to TLS: the stream is handed out, to be wrapped, and the wrapped one put in.
  // What has been learnt of the peer's way to end lines is forgotten in between. Null when the stream is
  // dead, and when bytes have arrived that no one has read: whoever sent these in plain text wants them to be
  // taken for what comes over TLS. Then the stream is dead too.
  [[nodiscard]] std::unique_ptr<NetStream> release();
  void reset(std::unique_ptr<NetStream> stream);

  [[nodiscard]] bool send(std::string_view bytes);

  // The answer that is read from here on has been asked for earlier: how fast it comes is measured from now.
  void startAnswer();

  // A line without its end (CR LF, or LF from servers that do not know better). nullopt, and the stream is
  // dead: it was longer than kLongestAnswerLine, not complete within the time-out, or cut short.
  [[nodiscard]] std::optional<std::string> readLine();
  [[nodiscard]] std::optional<std::string> readLine(int timeoutMilliseconds);

  // Reads a text up to the line with a lone dot and hands it on in pieces, as DotStuffedText does. Where
  // nothing has come for the whole time-out and DotStuffedText::mayHaveEnded(), the text has ended there.
  // That is a guess: whoever relies on the text asks the server something next. False, and the stream is
  // dead: cut short, timed out, or longer than the limit.
  [[nodiscard]] bool readText(std::size_t limit, const std::function<void(std::string_view)>& take);

  // Bytes have arrived that no one has read.
  [[nodiscard]] bool hasUnread() const { return begin_ < end_; }

 private:
  // Waits for bytes. A long answer that comes in at less than a crawl ends the session too, although no
  // single wait is too long: nobody waits for it.
  bool fill(int timeoutMilliseconds);
  [[nodiscard]] std::optional<std::size_t> readMore(int timeoutMilliseconds);
  [[nodiscard]] bool crawls() const;

  static constexpr std::size_t kBufferSize = 32U << 10;
  std::unique_ptr<NetStream> stream_;
  int timeout_;
  std::unique_ptr<char[]> buffer_;
  std::size_t begin_ = 0, end_ = 0;  // what is unread in the buffer
  bool firstLineRead_ = false;
  std::int64_t answerStart_ = 0;  // when the last command was sent, or later
  std::int64_t answerBytes_ = 0;  // that have come since
  bool bareLineFeeds_ = false;    // the server's first line ended with LF alone
  LineProblem problem_ = LineProblem::none;
};

}  // namespace vornelle
