// What the commands refuse before the library sees it: sentence on standard error, status 2.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <thread>

#include "apps/Command.h"

namespace {

struct Refusal {
  const char* name;
  std::vector<std::string> arguments;
  const char* sentence;
};

class Refused : public testing::TestWithParam<Refusal> {};

TEST_P(Refused, WithASentence) {
  Command command(GetParam().arguments);
  EXPECT_EQ(command.wait(), 2);
  EXPECT_EQ(command.output(), "");
  EXPECT_NE(command.errors().find(GetParam().sentence), std::string::npos) << command.errors();
}

std::vector<std::string> view(std::vector<std::string> more) {
  std::vector<std::string> arguments{"view", "127.0.0.1:9", "--device", "D", "--headless"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

std::vector<std::string> viewOf(const std::string& server, const std::string& device) {
  return {"view", server, "--device", device, "--headless"};
}

std::vector<std::string> record(const std::string& limit) {
  return {"record", "h:80", "--device", "D", "-o", freshFile("never.mp4"), "--limit", limit};
}

std::vector<std::string> list(const std::string& server) {
  return {"list", server, "--account", "a", "--json", "--timeout", "1"};
}

INSTANTIATE_TEST_SUITE_P(
    View, Refused,
    testing::Values(
        Refusal{"PortZero", viewOf("h:0", "D"), "from 1 to 65535"},
        Refusal{"PortTooLarge", viewOf("h:65536", "D"), "from 1 to 65535"},
        Refusal{"PortWithLetters", viewOf("h:80x", "D"), "from 1 to 65535"},
        Refusal{"NoPort", viewOf("host", "D"), "HOST:PORT"},
        Refusal{"NoHost", viewOf(":80", "D"), "HOST:PORT"},
        Refusal{"LongHost", viewOf(std::string(254, 'h') + ":80", "D"), "254 bytes"},
        Refusal{"LongDevice", viewOf("h:80", std::string(32, 'd')), "at most 31 fit"},
        Refusal{"NoDevice", viewOf("h:80", ""), "empty"},
        Refusal{"LongAccount", view({"--account", std::string(32, 'a')}), "at most 31 fit"},
        Refusal{"LongAccountForTheToken",
                view({"--path", "car", "--account", std::string(23, 'a')}), "at most 22 fit"},
        Refusal{"LongDeviceForTheCarPath",
                {"view", "h:80", "--device", std::string(64, 'd'), "--path", "relay"},
                "at most 63 fit"},
        Refusal{"Channel8", view({"--channel", "8"}), "from 0 to 7"},
        Refusal{"NegativeChannel", view({"--channel", "-1"}), "from 0 to 7"},
        Refusal{"MissingChannel", view({"--channel", "1,"}), "from 0 to 7"},
        Refusal{"ChannelTwice", view({"--channel", "1,1"}), "twice"},
        Refusal{"Size", view({"--size", "640x"}), "WxH"},
        Refusal{"Aspect", view({"--aspect", "4:0"}), "the aspect must be"},
        Refusal{"PasswordFile", view({"--password-file", "/nowhere"}), "No such file"},
        Refusal{"SnapshotFolder", view({"--snapshot", "/nowhere/a.png"}), "can't write"},
        Refusal{"Path", view({"--path", "train"}), "--path: train not in {car,fleet,relay}"},
        Refusal{"Stall", view({"--stall", "0"}), "--stall: Value 0 not in range"},
        Refusal{"NoNumber", view({"--stall", "nan"}), "--stall: nan is no number"},
        Refusal{"Limit", record("5T"), "--limit must be a size"},
        Refusal{"SmallLimit", record("63K"), "at least 64K"},
        Refusal{"HugeLimit", record("99999999999G"), "--limit must be a size"},
        Refusal{"ControlsInTheHost", list("a\033[2J:80"), "no name has: 'a\\x1b[2J'"},
        Refusal{"HostThatIsNoText", list("\xFF:80"), "no name has: '\\xff'"},
        Refusal{"ControlsInAWord", view({"--path", "\033[1m"}), ": \\x1b[1m not in"},
        Refusal{"ControlsInANumber", view({"--seconds", "\033[1m"}), "Value \\x1b[1m not in"},
        Refusal{"Seconds", view({"--seconds", "soon"}), "--seconds"}),
    [](const auto& refusal) { return refusal.param.name; });

TEST(UnknownOption, IsNamedWithoutItsValue) {
  for (const std::vector<std::string>& more :
       {std::vector<std::string>{"--password", "hunter2"}, {"--password=hunter2"}, {"-phunter2"}}) {
    Command command(view(more));
    EXPECT_EQ(command.wait(), 2);
    EXPECT_NE(command.errors().find("there is no option -"), std::string::npos);
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
