#include "frame/class_table.h"

#include "facade/file_system_lib.h"
#include "ftp/ftp_file_stream.h"
#include "system/volume.h"
#include "system/volumes.h"

namespace vofs {

std::span<const CreatableClass> CreatableClasses() {
    static const CreatableClass classes[] = {
        {CLSID_FileSystemLib, L"FileSystemLib", &CreateInstanceOf<FileSystemLib>},
        {CLSID_Volumes, L"Volumes", &CreateInstanceOf<Volumes>},
        {CLSID_Volume, L"Volume", &CreateInstanceOf<Volume>},
        {CLSID_FtpFileStream, L"FtpFileStream", &CreateInstanceOf<FtpFileStream>},
    };
    return classes;
}

}  // namespace vofs
