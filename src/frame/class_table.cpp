#include "frame/class_table.h"

#include "facade/file_system_lib.h"

namespace vofs {

std::span<const CreatableClass> CreatableClasses() {
    static const CreatableClass classes[] = {
        {CLSID_FileSystemLib, L"FileSystemLib", &CreateInstanceOf<FileSystemLib>},
        {CLSID_Volumes, L"Volumes", nullptr},
        {CLSID_Volume, L"Volume", nullptr},
        {CLSID_FtpFileStream, L"FtpFileStream", nullptr},
    };
    return classes;
}

}  // namespace vofs
