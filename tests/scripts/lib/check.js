// Checks for script clients. Each check prints its name after "- ", so that a script that
// stops early shows the last check it reached; a failed one prints a line starting with
// FAIL. done() prints the verdict the test runner looks for when none failed.
var checks = 0, failures = 0;

function reached(name) {
    checks++;
    WScript.Echo("- " + name);
}

function fail(name, message) {
    failures++;
    WScript.Echo("FAIL: " + name + ": " + message);
}

function check(name, actual, expected) {
    reached(name);
    if (actual !== expected) fail(name, "got [" + actual + "], expected [" + expected + "]");
}

function hex(number) { return "0x" + (number >>> 0).toString(16).toUpperCase(); }

// Runs action, which must throw the automation error number (an HRESULT such as
// 0x800A0005) with the given description (null: not compared). JScript errors carry no
// source.
function checkError(name, action, number, description) {
    reached(name);
    try {
        action();
    } catch (e) {
        if ((e.number >>> 0) !== (number >>> 0) || (description !== null && e.description !== description)) {
            fail(name, "got error " + hex(e.number) + " [" + e.description + "], expected " + hex(number) + " [" +
                 description + "]");
        }
        return;
    }
    fail(name, "no error was raised");
}

function done() {
    if (failures === 0) WScript.Echo("SCRIPT PASSED (" + checks + " checks)");
}

// ---- the client follows
