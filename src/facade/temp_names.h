#pragma once
// The temporary folder and free temporary file names.

#include <string>

namespace vofs {

// The platform's temporary folder; the host application's folder when it has none.
std::wstring TempFolderPath();

// The first free name Folder\<first three characters of Seed>~NNNN.<Extension>, with
// NNNN counting from 0001. Defaults: Seed the host application's name, Extension "tmp",
// Folder the temporary folder. The file is not created. Raises error 5 when all 9999
// names are taken.
std::wstring UniqueTempName(std::wstring seed, std::wstring extension, std::wstring folder);

}  // namespace vofs
