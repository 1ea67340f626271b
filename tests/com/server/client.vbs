Option Explicit
' A script as clients write them: classes by name, variables passed by reference, For Each over
' results, failures by number.

Dim checks : checks = 0
Sub Check(name, got, want)
  checks = checks + 1
  If CStr(got) <> CStr(want) Then WScript.Echo "FAILED: " & name & ": " & got & ", not " & want
End Sub
Sub CheckError(name, number)
  Check name, Err.Number, number
  If number <> 0 And Err.Description = "" Then WScript.Echo "FAILED: " & name & " has no text"
  Err.Clear
End Sub

Dim names, name, item, made
names = Array("clsLCrossRef", "clsTBlockObj", "clsLMisc", "clsLDB", "clsLCmpRec", "clsLLayShape", _
    "clsLSettings", "clsLMssg", "clsLSort", "clsLOSort", "clsLSortComp", "clsLSortShapeText", _
    "clsLSortLayShape", "clsLExport")
For Each name In names
  Set made = CreateObject("Ohmwise6." & name)
  Check name, TypeName(made), "_" & name
Next

Dim texts : Set texts = CreateObject("Ohmwise6.clsLMisc")
Dim pins, number, text
pins = """h,A1,A2"""
number = 2
Check "pin", texts.GetPin(pins, number), "A2"
Check "the list comes back", pins, "h,A1,A2"
Check "the number stays", number, 2
text = "K19"
Check "a number as text", texts.SpinText(text, "0", 1), "K20"
Check "order", texts.NetComp("X2", "X10"), -1

' A collection of the library, filled by a sorter.
Dim list, sorter, all
Set list = texts.ConnectedToWires(Nothing)
Set sorter = CreateObject("Ohmwise6.clsLSort")
Set sorter.DataSet = list
sorter.Descending = False
For Each name In Array("K10", "K9", "-X1", "K1")
  sorter.Add name
Next
all = ""
For Each item In list
  all = all & item & " "
Next
Check "sorted", all, "-X1 K1 K9 K10 "
Check "by position", list(3), "K9"
Check "by key", list("k10"), "K10"
Check "count", list.Count, 4
list.Add "last"
list.Add "first", "f", 1
list.Remove "K9"
all = ""
For Each item In list
  all = all & item & " "
Next
Check "changed", all, "first -X1 K1 K10 last "

' Records keep their identity.
Dim record, records, back
Set record = CreateObject("Ohmwise6.clsLCmpRec")
record.Name = "Contactor" : record.Price = 12.25 : record.Qty = "3" : record.Layout = True
Check "price", record.Price, 12.25
Check "quantity", record.Qty, 3
Set records = texts.ConnectedToWires(Nothing)
records.Add record, "one"
Set back = records("one")
back.Qty = 4
Check "the same record", record.Qty, 4
Check "as it is", (back Is record), True

' Objects of the client come back as themselves, alone and out of a collection of the library.
Class Foreign
  Public Property Get Count
    Count = 0
  End Property
  Public Property Get Item(index)
    Err.Raise 9
  End Property
  Public Sub Add(item, key, before, after)
    Err.Raise 457
  End Sub
  Public Sub Remove(index)
    Err.Raise 9
  End Sub
End Class
Dim theirs : Set theirs = New Foreign
Check "the same list", (CreateObject("Ohmwise6.clsLCrossRef").GetRefShapes(theirs) Is theirs), True
list.Add theirs, "theirs"
Check "the same item", (list("theirs") Is theirs), True
list.Remove "theirs"

' Failures by number.
On Error Resume Next
text = "99999999999"
number = texts.GetBeginNumber(text)
Check "source", Err.Source, "Ohmwise6.clsLMisc"
CheckError "too large", 6
number = texts.GetEndNumber("K1", -2) : CheckError "length", 5
number = texts.GetEndNumber("K1", 0) : CheckError "no digits", 13
number = texts.GetEndNumber("K1", 40000) : CheckError "16 bits", 6
number = texts.GetEndNumber("K1", "x") : CheckError "no number", 13
number = texts.GetBeginNumber(Null) : CheckError "null", 94
text = texts.GetCoreNames("a,b") : CheckError "fields", 9
made = texts.GotCompID(Nothing) : CheckError "nothing", 91
made = texts.GotCompID(Empty) : CheckError "no object", 424
made = texts.GotCompID("shape") : CheckError "a text", 13
made = texts.NoSuchMember : CheckError "member", 438
text = list("missing") : CheckError "key", 5
text = list(99) : CheckError "position", 9
list.Add "again", "F" : CheckError "key taken", 457
record.Qty = "many" : CheckError "quantity", 13
record.Qty = 3000000000 : CheckError "quantity", 6
Check "unchanged", record.Qty, 4
Set back = Nothing
made = CreateObject("Ohmwise6.clsLDB").GetNextCompID() : CheckError "not open", 91
Set made = CreateObject("Ohmwise6.clsLLang")
If Err.Number = 0 Then WScript.Echo "FAILED: texts without their database"
Err.Clear
text = texts.GetMidText("1K2") : CheckError "goes on", 0
Check "goes on", text, "K"

WScript.Echo checks & " checks"
WScript.Quit 42
