' Checks for script clients. Each check prints its name after "- ", so that a script that
' stops early shows the last check it reached; a failed one prints a line starting with
' FAIL. Done prints the verdict the runner looks for when none failed. (Counters start Empty.)
Dim gChecks, gFailures

Sub Reached(name)
    gChecks = gChecks + 1
    WScript.Echo "- " & name
End Sub

Sub Fail(name, message)
    gFailures = gFailures + 1
    WScript.Echo "FAIL: " & name & ": " & message
End Sub

Sub Check(name, actual, expected)
    Reached name
    If actual <> expected Then Fail name, "got [" & actual & "], expected [" & expected & "]"
End Sub

' Reads the error of the call just made under On Error Resume Next, then clears it.
' An empty expected source or description is not compared.
Sub CheckError(name, number, source, description)
    Dim n, s, d
    n = Err.Number: s = Err.Source: d = Err.Description
    Err.Clear
    Reached name
    If n <> number Or (source <> "" And s <> source) Or (description <> "" And d <> description) Then
        Fail name, "got error " & n & " [" & s & "] [" & d & "], expected " & number & " [" & source & "] [" & description & "]"
    End If
End Sub

Sub CheckNoError(name)
    CheckError name, 0, "", ""
End Sub

Sub Done()
    If gFailures = 0 Then WScript.Echo "SCRIPT PASSED (" & gChecks & " checks)"
End Sub

' ---- the client follows
