// JScript lists the token's privileges and meets an account that cannot log on.
var lib = new ActiveXObject("VOFSL.FileSystemLib");
var tp = lib.TokenPrivileges, names = [];
for (var i = 1; i <= tp.Count; i++) names.push(tp.Item(i).Name);
check("Item(1) to Item(Count)", names.length === tp.Count && names[0].indexOf("Se") === 0, true);
var im = lib.Impersonator, user = im.UserID, refused = false;
try { im.ImpersonateUser("", "nobody here", "", 3); } catch (e) { refused = (e.number >>> 16) === 0x8007; }
im.RevertToSelf();
check("a refused impersonation is a system error; reverted to the same account", refused + " " + im.UserID, "true " + user);
done();
