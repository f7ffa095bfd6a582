// Runs the transcripts that it is given, each case a test in a process of its own.
#include <gtest/gtest.h>

#include <cstdio>
#include <deque>
#include <filesystem>

#include "tests/transcript/player.h"

namespace {

class TranscriptTest : public testing::Test {
public:
    explicit TranscriptTest(const Case& one) : case_(one) {}
    void TestBody() override {
        in_own_process([this] { (new Player)->play(case_); });  // the library's threads hold on to it
    }

private:
    const Case& case_;
};

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    std::deque<std::vector<Case>> files;  // whose cases stay where they are
    for (int i = 1; i < argc; ++i) {
        std::vector<Case>& cases = files.emplace_back();
        try {
            cases = read_transcript(argv[i]);
        } catch (const Failure& failure) {
            std::fprintf(stderr, "%s\n", failure.reason.c_str());
            return 1;
        }
        const std::string suite = std::filesystem::path(argv[i]).stem().string();
        for (const Case& one : cases) {
            testing::RegisterTest(suite.c_str(), one.title.c_str(), nullptr, nullptr, argv[i], 1,
                                  [&one]() -> testing::Test* { return new TranscriptTest(one); });
        }
    }
    return RUN_ALL_TESTS();
}
