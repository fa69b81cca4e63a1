# Makes widl's C++ interface header compile as C++ without touching the contract:
# - widl writes default arguments as bare literals, which C++ will not convert to an
#   enumeration type or to a BSTR; each default gets a cast to its parameter's type;
# - two published enumerations both have a member named WriteThrough, which one C++
#   scope cannot hold; the one of OpenFileFlags is renamed FileFlagWriteThrough here only;
# - coclass names (OpenFile, TokenPrivileges, FolderItem, Volume, ...) collide with
#   platform names and with enumeration members, and C++ code never needs them: their
#   C++ declarations are dropped and code uses the CLSID_ constants instead.
# Usage: cmake -DIN=<widl header> -DOUT=<fixed header> -P FixWidlHeader.cmake
file(READ "${IN}" text)

string(REGEX REPLACE
  "\n( +)([A-Za-z_][A-Za-z0-9_]*) ([A-Za-z_][A-Za-z0-9_]*) = (-?(0x)?[0-9A-Fa-f]+)([,)])"
  "\n\\1\\2 \\3 = (\\2)\\4\\6" text "${text}")
string(REPLACE " = L\"\"" " = (BSTR)L\"\"" text "${text}")
string(REGEX REPLACE
  "(enum OpenFileFlags {[^}]*)WriteThrough = "
  "\\1FileFlagWriteThrough = " text "${text}")

# (Matched without the closing ";", which would split the CMake list.)
string(REGEX MATCHALL "class DECLSPEC_UUID\\(\"[^\"]*\"\\) [A-Za-z0-9_]+" coclasses "${text}")
foreach(declaration IN LISTS coclasses)
  string(REGEX REPLACE ".* ([A-Za-z0-9_]+)$" "\\1" name "${declaration}")
  string(REPLACE "typedef class ${name} ${name};\n" "" text "${text}")
  string(REPLACE "typedef struct ${name} ${name};\n" "" text "${text}")
  string(REPLACE "${declaration};\n" "" text "${text}")
  string(REGEX REPLACE "__CRT_UUID_DECL\\(${name}, [^\n]*\n" "" text "${text}")
endforeach()

file(WRITE "${OUT}.tmp" "${text}")
file(COPY_FILE "${OUT}.tmp" "${OUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUT}.tmp")
