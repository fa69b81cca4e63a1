// Checks for script clients. Each failed check prints a line starting with FAIL; done()
// prints the verdict the test runner looks for.
var checks = 0, failures = 0;

function fail(name, message) {
    failures++;
    WScript.Echo("FAIL: " + name + ": " + message);
}

function check(name, actual, expected) {
    checks++;
    if (actual !== expected) fail(name, "got [" + actual + "], expected [" + expected + "]");
}

function hex(number) { return "0x" + (number >>> 0).toString(16).toUpperCase(); }

// Runs action, which must throw the automation error number (an HRESULT such as
// 0x800A0005) with the given source and description (null: not compared).
function checkError(name, action, number, source, description) {
    checks++;
    try {
        action();
    } catch (e) {
        if ((e.number >>> 0) !== (number >>> 0) || (source !== null && e.source !== source) ||
            (description !== null && e.description !== description)) {
            fail(name, "got error " + hex(e.number) + " [" + e.source + "] [" + e.description + "], expected " +
                 hex(number) + " [" + source + "] [" + description + "]");
        }
        return;
    }
    fail(name, "no error was raised");
}

function done() {
    if (failures === 0) WScript.Echo("SCRIPT PASSED (" + checks + " checks)");
    else WScript.Echo("SCRIPT FAILED: " + failures + " of " + checks + " checks");
}

// ---- the client follows
