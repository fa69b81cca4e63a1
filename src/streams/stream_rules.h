#pragma once
// The byte-stream and text-stream rules as plain functions over bytes: no platform
// headers, so they build natively too (the fuzz target runs them). FileStream and
// TextStream are shells over these.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace vofs::stream_rules {

// ---- The buffer contract of ReadStream and WriteStream (synchronous mode)

enum class Direction { Read, Write };

// What a Buffer argument holds: a memory address (a Long), a String, a one-dimensional
// Byte array, or anything else.
enum class BufferKind { Address, Text, Bytes, Other };

// The transfer a call asks for: `count` bytes at `start` bytes into the buffer (into the
// ANSI conversion for a String). `refused` means error 5; `count` 0 moves nothing.
struct TransferPlan {
    bool refused = false;
    uint32_t start = 0;
    uint32_t count = 0;
};

// `length` is the String's length in characters or the array's element count (unused for
// an address). The asymmetries are the contract: a read into an address adds Offset, a
// write from one does not; a String write starts at the first byte whatever Offset says.
TransferPlan PlanTransfer(Direction direction, BufferKind kind, uint64_t length, int32_t offset, int32_t count);

// ---- The synchronous transfer loop

// One platform transfer: moves up to `request` bytes at `at` bytes into the buffer and
// reports the bytes moved; false when the platform call failed, with `error` its last
// error code (0 when it set none).
struct StepResult {
    bool ok;
    uint32_t moved;
    uint32_t error;
};

// The outcome of a loop: the bytes moved, or the error code that ended it.
struct LoopResult {
    uint32_t total;
    uint32_t error;
};

// Runs transfers until `count` bytes have moved (a read also stops at a call that moves
// nothing: the end of the file). The request after a short transfer is `count` less the
// previous call's bytes, not less the running total; it is cut to the room left in the
// buffer, so no call reaches past `count`. A failure without an error code goes on.
template <typename Step>
LoopResult RunTransfer(Direction direction, uint32_t count, Step&& step) {
    uint32_t total = 0, last = 0;
    if (count == 0) return {0, 0};
    for (;;) {
        uint32_t request = count - last;
        if (request > count - total) request = count - total;
        const StepResult result = step(total, request);
        last = result.moved;
        total += result.moved;
        if (total == count || (direction == Direction::Read && result.moved == 0)) return {total, 0};
        if (!result.ok && result.error != 0) return {total, result.error};
    }
}

// ---- The line scan of TextStream.ReadLine

// Where the first line terminator of a chunk stands: `before` bytes precede it and it is
// `terminator` bytes long (0 when the chunk has none). `extra` is the number of bytes per
// character beyond the first (1 for UTF-16). Every byte is tested, UTF-16 high bytes too.
// A carriage return whose line feed would lie past the chunk's end is a terminator alone.
struct LineEnd {
    size_t before;
    size_t terminator;
};
LineEnd ScanLine(std::span<const uint8_t> chunk, size_t extra);

// True for a chunk read at the start of the file that begins with the UTF-16 mark FF FE
// and holds at least one more byte.
bool StartsWithUnicodeMark(std::span<const uint8_t> chunk, uint64_t position);

// One blank line as WriteBlankLines writes it, in UTF-16 units: as long as `newLine`,
// holding the terminator's last character first and 0 after it. (Every character of the
// terminator is written at the line's first position in turn, so only the last one stays;
// kept as the library has always done: CR LF gives 10, 0.)
std::u16string BlankLine(std::u16string_view newLine);

}  // namespace vofs::stream_rules
