// What the commands refuse before the library sees it: sentence on standard error, status 2.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <thread>

#include "apps/Command.h"

namespace {

std::vector<std::string> view(std::vector<std::string> more) {
  std::vector<std::string> arguments{"view", "127.0.0.1:9", "--device", "D", "--headless"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

TEST(Arguments, AreRefusedWithASentence) {
  const std::string a23(23, 'a'), a32(32, 'a'), a64(64, 'a'), a254(254, 'a'),
      file = freshFile("never.mp4"), there = freshFile("there.mp4");
  std::ofstream(there) << "old";
  const std::pair<std::vector<std::string>, const char*> refusals[] = {
      {{"view", "h:0", "--device", "D"}, "from 1 to 65535"},
      {{"view", "h:65536", "--device", "D"}, "from 1 to 65535"},
      {{"view", "h:80x", "--device", "D"}, "from 1 to 65535"},
      {{"view", "host", "--device", "D"}, "HOST:PORT"},
      {{"view", ":80", "--device", "D"}, "HOST:PORT"},
      {{"view", a254 + ":80", "--device", "D"}, "254 bytes"},
      {{"view", "h:80", "--device", a32}, "at most 31 fit"},
      {{"view", "h:80", "--device", ""}, "empty"},
      {view({"--account", a32}), "at most 31 fit"},
      {view({"--path", "car", "--account", a23}), "at most 22 fit"},
      {{"view", "h:80", "--device", a64, "--path", "relay"}, "at most 63 fit"},
      {view({"--channel", "8"}), "from 0 to 7"},
      {view({"--channel", "-1"}), "from 0 to 7"},
      {view({"--channel", "1,"}), "from 0 to 7"},
      {view({"--channel", "1,1"}), "twice"},
      {view({"--device", "D"}), "device D is given twice"},
      {view({"--device", "E", "--device", "F", "--channel", "0,1,2,3,4,5"}), "are 18 tiles"},
      {{"probe", "h:80", "--device", "D", "--device", "E"}, "--device can be given once only"},
      {view({"--size", "640x"}), "WxH"},
      {view({"--password-file", "/nowhere"}), "No such file"},
      {view({"--snapshot", "/nowhere/a.png"}), "there is no folder '/nowhere'"},
      {view({"--path", "train"}), "--path: unknown path 'train': there are fleet, car, relay"},
      {view({"--path", "relai"}), "--path: unknown path 'relai': did you mean 'relay'?"},
      {view({"--aspect", "steam"}), "did you mean 'stream'?"},
      {{"veiw", "h:80"}, "unknown command 'veiw': did you mean 'view'?"},
      {{"help"}, "did you mean '--help'?"},
      {{"view", "--devcie", "D", "h:80"}, "unknown option '--devcie': did you mean '--device'?"},
      {view({"-json"}), "unknown option '-j': did you mean '--json'?"},
      {view({"--seconds"}), "--seconds needs its value: --seconds S"},
      {view({"--snapshot", "a.jpg"}), "must end in .png"},
      {view({"--tile-snapshots", "/nowhere"}), "there is no folder '/nowhere'"},
      {{"record", "h:80", "--device", "D", "-o", there}, "exists; --overwrite replaces it"},
      {view({"--stall", "0"}), "--stall: a number from 1 to 3600 is needed"},
      {view({"--stall", "nan"}), "needed, not 'nan'"},
      {{"gps", "h:80", "--account", "a", "--polls", "0"}, "from 1 to 1000000000 is needed"},
      {{"record", "h:80", "--device", "D", "-o", file, "--limit", "63K"}, "at least 64K"},
      {{"record", "h:80", "--device", "D", "-o", file, "--limit", "99999999999G"},
       "--limit must be a size"},
      {{"list", "a\033[2J:80", "--account", "a"}, "no name has: 'a\\x1b[2J'"},
      {{"list", "\xFF:80", "--account", "a"}, "no name has: '\\xff'"},
      {view({"--seconds", "\033[1m"}), "needed, not '\\x1b[1m'"}};
  for (const auto& [arguments, sentence] : refusals) {
    Command command(arguments);
    EXPECT_EQ(command.wait(), 2) << sentence;
    EXPECT_EQ(command.output(), "");
    EXPECT_NE(command.errors().find(sentence), std::string::npos) << command.errors();
  }
  std::remove(there.c_str());
}

TEST(UnknownOption, IsNamedWithoutItsValue) {
  for (const std::vector<std::string>& more :
       {std::vector<std::string>{"--password", "hunter2"}, {"--password=hunter2"}, {"-phunter2"}}) {
    Command command(view(more));
    EXPECT_EQ(command.wait(), 2);
    EXPECT_NE(command.errors().find("unknown option '-"), std::string::npos);
    EXPECT_EQ(command.errors().find("hunter2"), std::string::npos) << command.errors();
  }
}

// What `list` says with such a password file; a good one gets it as far as the closed port.
void expectOfPasswordFile(const std::string& file, const std::string& sentence) {
  Command command({"list", "127.0.0.1:1", "--account", "a", "--password-file", file});
  command.wait();
  EXPECT_NE(command.errors().find(sentence), std::string::npos) << file << command.errors();
}

TEST(PasswordFile, HasASentenceForEachFault) {
  const struct {
    const char* content;
    mode_t mode;
    const char* sentence;
  } files[] = {{"secret\nmore", 0600, "nothing listens"},
               {"secret\r\n", 0600, "nothing listens"},
               {"secret", 0640, "mend it with: chmod 600"},
               {"secret", 0602, "mend it with: chmod 600"},
               {"", 0600, "is empty"},
               {"\nsecret", 0600, "an empty first line"},
               {"\xEF\xBB\xBFsecret", 0600, "a byte order mark"},
               {"0123456789012345678901234567890123\r\n", 0600, "has 34 bytes; at most 31"}};
  const std::string name = freshFile("password");
  for (const auto& file : files) {
    std::ofstream(name) << file.content;
    chmod(name.c_str(), file.mode);
    expectOfPasswordFile(name, file.sentence);
  }
  std::remove(name.c_str());
  mkfifo(name.c_str(), 0644);
  expectOfPasswordFile(name, "a pipe that nothing writes to");
  std::thread writer([&] { std::ofstream(name) << "secret\n"; });
  expectOfPasswordFile(name, "nothing listens");
  writer.join();
  std::remove(name.c_str());
  expectOfPasswordFile("/dev/zero", "no line end within 4096 bytes");
  expectOfPasswordFile("/", "is a folder");
}

}  // namespace
