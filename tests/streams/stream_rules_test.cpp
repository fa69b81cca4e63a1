// The byte-stream buffer contract, the short-transfer request rule and the line scan, in
// the cases a real file does not show (tests/streams/streams_test.cpp and the script client
// show the others).

#include "streams/stream_rules.h"

#include <gtest/gtest.h>

#include <vector>

namespace vofs::stream_rules {
namespace {

TEST(StreamRules, BufferContractKeepsItsAsymmetries) {
    constexpr auto R = Direction::Read, W = Direction::Write;
    struct Case {
        Direction direction;
        BufferKind kind;
        uint64_t length;
        int32_t offset, count;
        TransferPlan expected;
    } cases[] = {
        {W, BufferKind::Bytes, 4, -7, 2, {false, 0, 2}},      // a negative offset is 0
        {W, BufferKind::Address, 0, 0, -1, {true}},
        {W, BufferKind::Text, 3, 0, -1, {false, 0, 3}},       // "abc" writes 3 bytes
        {W, BufferKind::Text, 3, 1, 2, {false, 0, 2}},        // from the first byte all the same
        {R, BufferKind::Text, 0, 5, 5, {false, 0, 0}},        // an empty string reads nothing
        {R, BufferKind::Text, 3, 0, -1, {true}},              // a negative count is no size
        {R, BufferKind::Other, 3, 0, 1, {true}},
    };
    for (const Case& c : cases) {
        const TransferPlan plan = PlanTransfer(c.direction, c.kind, c.length, c.offset, c.count);
        EXPECT_EQ(plan.refused, c.expected.refused) << c.length << " " << c.offset << " " << c.count;
        EXPECT_EQ(plan.start, c.expected.start) << c.length << " " << c.offset << " " << c.count;
        EXPECT_EQ(plan.count, c.expected.count) << c.length << " " << c.offset << " " << c.count;
    }
}

TEST(StreamRules, RequestsAfterAShortTransferCountFromThePreviousCall) {
    // A platform moving 6, then 1, then the rest of a 10-byte request.
    std::vector<uint32_t> requests, moves{6, 1, 2, 1};
    const LoopResult result = RunTransfer(Direction::Read, 10, [&](uint32_t at, uint32_t request) {
        requests.push_back(request);
        EXPECT_LE(at + request, 10u);
        return StepResult{true, moves[requests.size() - 1], 0};
    });
    EXPECT_EQ(result.total, 10u);
    EXPECT_EQ(requests, (std::vector<uint32_t>{10, 4, 3, 1}));  // 10-6, then 10-1 cut to the 3 left

    uint32_t calls = 0;
    const LoopResult failed = RunTransfer(Direction::Write, 8, [&](uint32_t, uint32_t) {
        return ++calls < 3 ? StepResult{false, 0, 0} : StepResult{false, 2, 33};  // no code: go on
    });
    EXPECT_EQ(failed.total, 2u);
    EXPECT_EQ(failed.error, 33u);
    EXPECT_EQ(RunTransfer(Direction::Read, 8, [](uint32_t, uint32_t) { return StepResult{true, 0, 0}; }).total, 0u);
}

TEST(StreamRules, LinesEndAtTheFirstTerminatorOfAChunk) {
    struct Case {
        std::vector<uint8_t> chunk;
        size_t extra;
        LineEnd expected;
    } cases[] = {
        {{'a', 13, 10, 'b'}, 0, {1, 2}},
        {{'a', 10, 13}, 0, {1, 1}},
        {{'a', 'b', 13}, 0, {2, 1}},  // a CR at the chunk's end stands alone
        {{'a', 'b'}, 0, {2, 0}},
        {{'h', 0, 13, 0, 10, 0}, 1, {2, 4}},
        {{'h', 0, 13, 0}, 1, {2, 2}},
        {{0x0A, 0x4E}, 1, {0, 2}},  // a high byte of 10 ends a UTF-16 line too
    };
    for (const Case& c : cases) {
        const LineEnd end = ScanLine(c.chunk, c.extra);
        EXPECT_EQ(end.before, c.expected.before);
        EXPECT_EQ(end.terminator, c.expected.terminator);
    }
    const uint8_t marked[] = {0xFF, 0xFE, 'h'};
    EXPECT_FALSE(StartsWithUnicodeMark(marked, 1) || StartsWithUnicodeMark(std::span(marked, 2), 0));
}

}  // namespace
}  // namespace vofs::stream_rules
