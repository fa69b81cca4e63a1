' Checks for script clients. Each failed check prints a line starting with FAIL; Done
' prints the verdict the test runner looks for.
Dim gChecks, gFailures
gChecks = 0
gFailures = 0

Sub Fail(name, message)
    gFailures = gFailures + 1
    WScript.Echo "FAIL: " & name & ": " & message
End Sub

Sub Check(name, actual, expected)
    gChecks = gChecks + 1
    If actual <> expected Then Fail name, "got [" & actual & "], expected [" & expected & "]"
End Sub

Sub CheckType(name, value, expectedType)
    gChecks = gChecks + 1
    ' (TypeName of Nothing crashes Wine's VBScript.)
    If IsObject(value) Then
        If value Is Nothing Then
            Fail name, "got Nothing, expected a " & expectedType
            Exit Sub
        End If
    End If
    If TypeName(value) <> expectedType Then Fail name, "got a " & TypeName(value) & ", expected a " & expectedType
End Sub

' Reads the error of the call just made under On Error Resume Next, then clears it.
' An empty expected source or description is not compared.
Sub CheckError(name, number, source, description)
    Dim n, s, d
    n = Err.Number: s = Err.Source: d = Err.Description
    Err.Clear
    gChecks = gChecks + 1
    If n <> number Or (source <> "" And s <> source) Or (description <> "" And d <> description) Then
        Fail name, "got error " & n & " [" & s & "] [" & d & "], expected " & number & " [" & source & "] [" & description & "]"
    End If
End Sub

Sub CheckNoError(name)
    CheckError name, 0, "", ""
End Sub

Sub Done()
    If gFailures = 0 Then
        WScript.Echo "SCRIPT PASSED (" & gChecks & " checks)"
    Else
        WScript.Echo "SCRIPT FAILED: " & gFailures & " of " & gChecks & " checks"
    End If
End Sub

' ---- the client follows
