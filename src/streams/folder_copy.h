#pragma once
// The recursive folder copy, written only against the abstract item, enumerator, stream
// and open-file interfaces, so that it copies local and FTP trees alike.
//
// The destination folder is created when missing; every file is copied through a reader
// and a writer stream in chunks. An existing destination file is left byte for byte as it
// is when `overwriteFiles` is false, and is made writable (attributes Normal) before it is
// overwritten otherwise. The writer's last-write and last-access times are then set from
// the source's precise times, as far as its open file supports that. A destination that
// is the source or lies below it is refused with error 5 (give absolute paths: relative
// ones are compared as written).

#include "frame/contract.h"

namespace vofs {

void CopyFolderTree(_IFolderItem* source, _IFolderItem* destination, bool overwriteFiles);

}  // namespace vofs
