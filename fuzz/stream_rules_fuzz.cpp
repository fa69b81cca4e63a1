// Runs the stream rules on arbitrary arguments and chunks: a planned transfer stays inside
// its buffer, the transfer loop never asks past the room left whatever the platform
// answers, and the line scan stays inside its chunk.

#include "streams/stream_rules.h"

#include <cstring>

using namespace vofs::stream_rules;

namespace {

void Require(bool condition) {
    if (!condition) __builtin_trap();
}

template <typename T>
T Take(const uint8_t*& data, size_t& size) {
    T value{};
    const size_t n = size < sizeof value ? size : sizeof value;
    std::memcpy(&value, data, n);
    data += n, size -= n;
    return value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto direction = Take<uint8_t>(data, size) & 1 ? Direction::Write : Direction::Read;
    const auto kind = static_cast<BufferKind>(Take<uint8_t>(data, size) % 4);
    const uint64_t length = Take<uint32_t>(data, size);
    const int32_t offset = Take<int32_t>(data, size), count = Take<int32_t>(data, size);

    const TransferPlan plan = PlanTransfer(direction, kind, length, offset, count);
    if (!plan.refused && (kind == BufferKind::Text || kind == BufferKind::Bytes))
        Require(uint64_t{plan.start} + plan.count <= length);
    Require(!(kind == BufferKind::Other && !plan.refused));

    // The platform's answers come from the input: bytes moved (never more than asked),
    // success or an error code.
    size_t answer = 0, calls = 0;
    const uint32_t wanted = plan.count % 100000;
    const LoopResult loop = RunTransfer(direction, wanted, [&](uint32_t at, uint32_t request) {
        Require(uint64_t{at} + request <= wanted);
        const uint8_t byte = answer < size ? data[answer++] : 0;
        const uint32_t moved = request ? (byte * 7919u) % (request + 1) : 0;
        if (++calls > 1000) return StepResult{false, moved, 1};  // a platform stuck failing
        return StepResult{(byte & 0x80) == 0, moved, byte & 0x80 ? byte & 3u : 0u};
    });
    Require(loop.total <= wanted);

    const std::span<const uint8_t> chunk(data, size);
    for (size_t extra : {0, 1}) {
        const LineEnd end = ScanLine(chunk, extra);
        Require(end.before <= chunk.size());
        Require(end.terminator == 0 ? end.before == chunk.size() : end.before + end.terminator <= chunk.size() + 2 * extra + 1);
        for (size_t i = 0; i < end.before; ++i) Require(chunk[i] != 10 && chunk[i] != 13);
    }
    const std::u16string newLine(reinterpret_cast<const char16_t*>(data), size / 2);
    const std::u16string line = BlankLine(newLine);
    Require(line.size() == newLine.size() && (line.empty() || line.front() == newLine.back()));
    return 0;
}
