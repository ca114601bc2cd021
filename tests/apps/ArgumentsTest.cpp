// What the commands refuse before the library sees it: sentence on standard error, status 2.
#include <gtest/gtest.h>

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
        Refusal{"PasswordFile", view({"--password-file", "/nowhere"}), "No such file"},
        Refusal{"SnapshotFolder", view({"--snapshot", "/nowhere/a.png"}), "can't write"},
        Refusal{"Path", view({"--path", "train"}), "fleet, car or relay"},
        Refusal{"Stall", view({"--stall", "0"}), "--stall"},
        Refusal{"Seconds", view({"--seconds", "soon"}), "--seconds"}),
    [](const auto& refusal) { return refusal.param.name; });

}  // namespace
