' The default proxy record as a script sets it up before connecting: its defaults, one
' record per thread, settings kept while the library object that handed it out lives.
Dim lib, other, proxy
Set lib = CreateObject("VOFSL.FileSystemLib")
Set proxy = lib.DefaultProxy
Check "the same record on every call", proxy Is lib.DefaultProxy, True
Check "defaults", proxy.ProxyAddress & "|" & proxy.ProxyBypass & "|" & proxy.LocalPort & "|" & proxy.UserIdDelimeter & "|" & proxy.PortDelimeter & "|" & proxy.UserID & "|" & proxy.Password, "127.0.0.1||0|@|:||"
proxy.ProxyAddress = "proxy.example.com:8021"
proxy.Password = "secret"
Set proxy = Nothing
Check "settings kept", lib.DefaultProxy.ProxyAddress & " " & lib.DefaultProxy.Password, "proxy.example.com:8021 secret"
Set other = CreateObject("VOFSL.FileSystemLib")
Check "one record per thread", other.DefaultProxy Is lib.DefaultProxy, True
Done
