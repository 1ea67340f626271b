Option Explicit
' The same from a script, where the interpreter has its share.
Dim texts, first, second, start, calls, i, order
Set texts = CreateObject("Ohmwise6.clsLMisc")
first = "-K12" : second = "-K112"
calls = 0 : start = Timer
Do
  For i = 1 To 10000
    order = texts.NetComp(first, second)
  Next
  calls = calls + 10000
Loop While Timer - start < 2
WScript.Echo "script                             " & Right(Space(12) & CLng(calls / (Timer - start)), 12) & " /s"
WScript.Quit 42
