// Requests that the system was given and had not finished when their time was over. What such a request still
// writes to has to live until the system is through with it.
#pragma once

#include <memory>
#include <utility>
#include <vector>

namespace vornelle {

// `Request` has finished(): the system touches it no more.
template <typename Request>
class LeftBehind {
 public:
  // Takes the request, unless it has finished, and lets go of those that have by now.
  void keep(std::shared_ptr<Request> request) {
    requests_.push_back(std::move(request));
    std::erase_if(requests_, [](const std::shared_ptr<Request>& one) { return one->finished(); });
  }

  // The one for this kind of request. It outlives everything, since some may be under way when the program
  // ends.
  static LeftBehind& instance() {
    static LeftBehind& instance = *new LeftBehind;
    return instance;
  }

 private:
  std::vector<std::shared_ptr<Request>> requests_;
};

}  // namespace vornelle
