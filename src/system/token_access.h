#pragma once
// The calling thread's security token and its privileges (the MTokenPrivileges routines):
// each operation opens the token (the thread's, else the process's), does its work and
// closes it again. Every failure is raised with source "MTokenPrivileges"; the fixed
// messages ("OpenProcessToken failed." and the like) carry the thread's last platform
// error.

#include <string>
#include <vector>

namespace vofs::token {

inline constexpr wchar_t kModuleName[] = L"MTokenPrivileges";

// The names of the token's privileges, in the token's order. A token with more than 41
// privileges does not fit the fixed information buffer and raises.
std::vector<std::wstring> PrivilegeNames();

// Whether the privilege is enabled in the token (PrivilegeCheck). An empty system name
// means the local system.
bool IsEnabled(const std::wstring& systemName, const std::wstring& name);

// Enables or disables the privilege. A privilege the token does not hold is no failure:
// the platform call succeeds and changes nothing.
void Adjust(const std::wstring& systemName, const std::wstring& name, bool enable);

// The privilege's display name in the user's language; the platform's failure raises with
// source "TokenPrivilege".
std::wstring DisplayName(const std::wstring& systemName, const std::wstring& name);

// This computer's name (the system name of privileges made without one).
std::wstring LocalComputerName();

}  // namespace vofs::token
