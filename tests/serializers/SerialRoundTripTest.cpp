#include <gtest/gtest.h>
#include <random>
#include <sstream>

#include "tests/serializers/SerialBlockCases.h"

#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"

namespace pellium {

namespace {

using test::StreamKind;

class SerialRoundTrip : public ::testing::TestWithParam<StreamKind> {};

}  // namespace

TEST_P(SerialRoundTrip, EveryBlockWithRandomContentReadsBackBitForBit) {
    std::mt19937 random(20240611);
    for (int round = 0; round < 12; ++round) {
        for (const auto& blockCase : test::randomCases(random)) {
            test::TestInput input(GetParam(), test::writeToString(blockCase));
            SerialReader reader(input.stream());
            const test::ReadOutcome outcome = blockCase.read(reader);
            EXPECT_TRUE(outcome.ok && outcome.equal) << blockCase.name << " in round " << round;
            EXPECT_TRUE(input.isExhausted()) << blockCase.name << " in round " << round;
        }
    }
}

// Blocks written back to back read back in order, so each reader stops exactly at its block's end.
TEST_P(SerialRoundTrip, ASequenceOfBlocksReadsBackInOrder) {
    std::mt19937 random(7);
    for (int round = 0; round < 4; ++round) {
        auto cases = test::randomCases(random);
        std::shuffle(cases.begin(), cases.end(), random);
        std::ostringstream output;
        SerialWriter writer(output);
        for (const auto& blockCase : cases) {
            ASSERT_TRUE(blockCase.write(writer)) << blockCase.name;
        }
        test::TestInput input(GetParam(), output.str());
        SerialReader reader(input.stream());
        for (const auto& blockCase : cases) {
            const test::ReadOutcome outcome = blockCase.read(reader);
            ASSERT_TRUE(outcome.ok && outcome.equal) << blockCase.name << " in round " << round;
        }
        EXPECT_TRUE(input.isExhausted());
        if (const auto remaining = reader.remainingBytes()) {
            EXPECT_EQ(*remaining, 0U);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Streams, SerialRoundTrip,
                         ::testing::Values(StreamKind::StringStream, StreamKind::Memory, StreamKind::Trickle),
                         [](const auto& parameter) { return test::streamKindName(parameter.param); });

}  // namespace pellium
