#include "builds/job_knobs.h"

#include <gtest/gtest.h>

#include "base/text.h"

namespace qv::build {
namespace {

struct Row {
  const char* command;
  const char* variable;  // NAME=value, or nothing
  bool release;
  const char* told;  // the arguments and the variable with 5 jobs; empty: not coordinated
};

constexpr Row kRows[] = {
    {"xcodebuild -scheme App", "", false, ""},
    {"xcodebuild -scheme App build", "", false, "-jobs 5 -scheme App build"},
    {"xcodebuild build -jobs", "", false, ""},
    {"xcodebuild Build", "", false, ""},
    {"xcodebuild test -configuration MyRelease", "", true, "-jobs 5 test -configuration MyRelease"},
    {"xcodebuild analyze -configuration Debug -configuration Release", "", false,
     "-jobs 5 analyze -configuration Debug -configuration Release"},
    {"xcodebuild archive", "", true, "-jobs 5 archive"},
    {"xcodebuild install -configuration", "", false, "-jobs 5 install -configuration"},
    {"xcodebuild build-for-testing", "", false, "-jobs 5 build-for-testing"},
    {"xcodebuild test-without-building", "", false, "-jobs 5 test-without-building"},

    {"cargo +nightly build", "", false, "+nightly build CARGO_BUILD_JOBS=5"},
    {"cargo -v c -r", "", true, "-v c -r CARGO_BUILD_JOBS=5"},
    {"cargo b -j8x --RELEASE", "", true, "b -j8x --RELEASE CARGO_BUILD_JOBS=5"},
    {"cargo d --profile=release-lto", "", true, "d --profile=release-lto CARGO_BUILD_JOBS=5"},
    {"cargo fix --profile release", "", false, "fix --profile release CARGO_BUILD_JOBS=5"},
    {"cargo build -j8", "", false, ""},
    {"cargo -j8 build", "", false, ""},
    {"cargo build -j 8", "", false, ""},
    {"cargo build --jobs=4", "", false, ""},
    {"cargo build --jobs 4", "", false, ""},
    {"cargo build", "CARGO_BUILD_JOBS=", false, ""},
    {"cargo fmt", "", false, ""},
    {"cargo --version", "", false, ""},
    {"cargo", "", false, ""},

    {"swift build -c release", "", true, "build -j 5 -c release"},
    {"swift build -c debug", "", false, "build -j 5 -c debug"},
    {"swift test --configuration=Release", "", true, "test -j 5 --configuration=Release"},
    {"swift run -c debug --configuration release", "", false,
     "run -j 5 -c debug --configuration release"},
    {"swift -v build", "", false, ""},
    {"swift build -j90", "", false, ""},
    {"swift build -jx", "", false, "build -j 5 -jx"},
    {"swift build -j-1", "", false, "build -j 5 -j-1"},

    {"go build", "", false, "build GOFLAGS=-p=5"},
    {"go vet", "GOFLAGS=-mod=mod", false, "vet GOFLAGS=-mod=mod -p=5"},
    {"go run", "GOFLAGS=", false, "run GOFLAGS= -p=5"},
    {"go test", "GOFLAGS=-v -p=2", false, ""},
    {"go test", "GOFLAGS=-p 2", false, ""},
    {"go build -p 4", "", false, ""},
    {"go build -p=4", "", false, ""},
    {"go install --release release", "", false, "install --release release GOFLAGS=-p=5"},
    {"go mod build", "", false, ""},

    {"make build", "", false, ""},
    {"Cargo build", "", false, ""},
};

TEST(BuildJobKnobs, KnowTheTools) {
  for (const Row& row : kRows) {
    const std::string what = std::string(row.variable) + " " + row.command;
    Arguments arguments;
    for (const auto word : text::split(row.command, ' ')) arguments.emplace_back(word);
    const std::string tool = arguments.front();
    arguments.erase(arguments.begin());
    Environment environment;
    const std::string_view variable = row.variable;
    const std::size_t equals = variable.find('=');
    if (!variable.empty()) {
      environment.emplace(variable.substr(0, equals), variable.substr(equals + 1));
    }

    const bool coordinated = *row.told != '\0';
    EXPECT_EQ(is_coordinated(tool, arguments, environment), coordinated) << what;
    EXPECT_EQ(is_release(tool, arguments), row.release) << what;
    const auto knob = BuildJobKnob::find(tool, arguments, environment, 5);
    ASSERT_EQ(knob.has_value(), coordinated) << what;
    if (!knob) continue;
    knob->apply(arguments, environment);
    for (const std::string& pair : as_strings(environment)) arguments.push_back(pair);
    EXPECT_EQ(text::joined(arguments, " "), row.told) << what;
  }
}

TEST(BuildJobKnobs, KnowWhatIsRunTwiceWhenAskedTwice) {
  EXPECT_TRUE(runs_its_result("cargo", {"+nightly", "-v", "r"}) &&
              runs_its_result("swift", {"run"}) && runs_its_result("go", {"run", "."}));
  EXPECT_FALSE(runs_its_result("cargo", {"build", "run"}) || runs_its_result("go", {"r"}) ||
               runs_its_result("swift", {"test"}) || runs_its_result("xcodebuild", {"run"}));
}

TEST(BuildJobKnobs, InsertAtTheEndOfAShorterList) {
  Arguments arguments;
  Environment environment;
  BuildJobKnob{BuildJobKnob::InsertArguments{{"-j", "2"}, 1}}.apply(arguments, environment);
  EXPECT_EQ(arguments, (Arguments{"-j", "2"}));
}

}  // namespace
}  // namespace qv::build
