// Members: a host whose members play by themselves. A Member has play(Draw), look(), which is
// called every few milliseconds, rest() and counts().
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "base/Clock.h"
#include "soak/Course.h"

namespace soak {

template <class Member>
class Members : public Host {
 public:
  // turn: seconds from look to look.
  Members(Course& course, double turn, std::vector<std::unique_ptr<Member>> members)
      : course_(course), turn_(turn), members_(std::move(members)) {}

  void begin() override {
    for (const auto& member : members_) member->play(course_.draw(isFirst_));
    isFirst_ = false;
  }
  void turn() override {
    quorvid::sleepForTimeInterval(turn_);
    for (const auto& member : members_) member->look();
  }
  void rest() override {
    for (const auto& member : members_) member->rest();
  }
  Counts counts() override {
    Counts sum;
    for (const auto& member : members_) add(sum, member->counts());
    return sum;
  }

 private:
  Course& course_;
  const double turn_;
  std::vector<std::unique_ptr<Member>> members_;
  bool isFirst_ = true;
};

}  // namespace soak
