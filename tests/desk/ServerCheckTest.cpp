#include "apps/desk/devices/ServerCheck.h"

#include <gtest/gtest.h>

namespace quorvid::desk {
namespace {

ServerEntry goodEntry() {
  ServerEntry entry;
  entry.host = " fleet.example ";
  entry.videoPort = "5000";
  return entry;
}

TEST(ServerCheck, TextsFitTheirFieldsInBytes) {
  struct Case {
    ServerField wrong;
    void (*change)(ServerEntry&);
  };
  const Case cases[] = {
      {ServerField::None, [](ServerEntry&) {}},
      {ServerField::Host, [](ServerEntry& e) { e.host = " "; }},
      {ServerField::Host, [](ServerEntry& e) { e.host = "a b"; }},
      {ServerField::Host, [](ServerEntry& e) { e.host = "http://a"; }},
      {ServerField::Host, [](ServerEntry& e) { e.host.assign(254, 'a'); }},
      {ServerField::ListPort, [](ServerEntry& e) { e.listPort = "0"; }},
      {ServerField::ListPort, [](ServerEntry& e) { e.listPort = "70000"; }},
      {ServerField::VideoPort, [](ServerEntry& e) { e.videoPort = ""; }},
      {ServerField::VideoPort, [](ServerEntry& e) { e.videoPort = "1x"; }},
      {ServerField::VideoPort, [](ServerEntry& e) { e.videoPort = "99999999999"; }},
      {ServerField::None, [](ServerEntry& e) { e.account.assign(31, 'a'); }},
      {ServerField::Account, [](ServerEntry& e) { e.account.assign(32, 'a'); }},
      {ServerField::Account, [](ServerEntry& e) { e.account = "ääääääääääääääää"; }},
      {ServerField::None,
       [](ServerEntry& e) { e.path = LivePath::Car, e.account.assign(22, 'a'); }},
      {ServerField::Account,
       [](ServerEntry& e) { e.path = LivePath::Relay, e.account.assign(23, 'a'); }},
      {ServerField::None, [](ServerEntry& e) { e.password.assign(31, 'a'); }},
      {ServerField::Password, [](ServerEntry& e) { e.password.assign(32, 'a'); }},
  };
  for (const Case& one : cases) {
    ServerEntry entry = goodEntry();
    one.change(entry);
    const ServerTrouble trouble = troubleWith(entry);
    EXPECT_EQ(trouble.field, one.wrong) << &one - cases << ": " << trouble.sentence;
    EXPECT_EQ(trouble.sentence.empty(), one.wrong == ServerField::None) << &one - cases;
  }
  EXPECT_EQ(serverOf(goodEntry()).host, "fleet.example");
  EXPECT_EQ(serverOf(goodEntry()).listPort, 0);
  EXPECT_EQ(troubleWithDevice(LivePath::Fleet, std::string(31, 'd')), "");
  EXPECT_NE(troubleWithDevice(LivePath::Fleet, std::string(32, 'd')), "");
  EXPECT_EQ(troubleWithDevice(LivePath::Car, std::string(63, 'd')), "");
  EXPECT_NE(troubleWithDevice(LivePath::Relay, std::string(64, 'd')), "");
  EXPECT_NE(troubleWithDevice(LivePath::Car, "a\xFF"), "");
}

}  // namespace
}  // namespace quorvid::desk
