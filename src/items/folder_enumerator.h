#pragma once
// FolderEnumerator: walks the entries of one local folder with FindFirstFile and
// FindNextFile, one entry at a time, answering the current entry's data from its find
// record. It implements IFolderEnumerator, which the FTP enumerator implements too.
//
// A walk reads the current entry first and moves on after it (do ... loop while
// GetNextItem): opening stands on the first real entry (a leading "." and ".." are passed
// over), GetNextItem answers false at the end and closes the search. The data members
// check nothing: before opening and after the end they answer from whatever the record
// last held.

#include "common/handles.h"
#include "frame/com_object.h"
#include "frame/contract.h"
#include "items/find_data.h"
#include "paths/path.h"

namespace vofs {

// The class's own Attributes reads the record ...
class FolderEnumeratorAttributes : public InterfaceFace<_FolderEnumerator> {
public:
    HRESULT STDMETHODCALLTYPE get_Attributes(FileAttributes* value) final { return EntryAttributes(value); }

protected:
    virtual HRESULT EntryAttributes(FileAttributes* value) = 0;
};

// ... while IFolderEnumerator's Attributes of a local enumerator answers 0 (kept so;
// callers that need the attributes use the class's own member).
class LocalEnumeratorAttributes : public InterfaceFace<_IFolderEnumerator> {
public:
    HRESULT STDMETHODCALLTYPE get_Attributes(FileAttributes* value) final {
        if (!value) return E_POINTER;
        *value = static_cast<FileAttributes>(0);
        return S_OK;
    }
};

class FolderEnumerator final
    : public ComObject<FolderEnumerator, FolderEnumeratorAttributes, LocalEnumeratorAttributes> {
public:
    static constexpr wchar_t kClassName[] = L"FolderEnumerator";

    // Opens on a folder text with a filter ("" for every entry; "*.txt" and "\*.txt" are
    // the same). Returns whether an entry is current. A folder that does not exist raises
    // the system error, a file error 5; a filter that matches nothing raises the system
    // error for "file not found". Opening again ends the previous search first.
    bool Open(std::wstring_view folder, std::wstring_view filter);

    bool IsOpen() const { return search_.IsValid(); }
    bool MoveNext();
    void Close();

    // ---- _FolderEnumerator and _IFolderEnumerator
    HRESULT STDMETHODCALLTYPE get_ItemPath(_Path** value) override;
    HRESULT STDMETHODCALLTYPE get_Path(_Path** value) override;
    HRESULT STDMETHODCALLTYPE get_Handle(LONG* value) override;
    HRESULT STDMETHODCALLTYPE GetFolderItem(_FolderItem** value) override;
    HRESULT STDMETHODCALLTYPE GetFolderItem(_IFolderItem** value) override;
    HRESULT STDMETHODCALLTYPE get_IsOpen(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE GetNextItem(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE CloneFolderItem(_FolderItem** value) override;
    HRESULT STDMETHODCALLTYPE CloneFolderItem(_IFolderItem** value) override;
    HRESULT STDMETHODCALLTYPE CloseEnumerator() override;
    HRESULT STDMETHODCALLTYPE get_CreationTime(DATE* value) override;
    HRESULT STDMETHODCALLTYPE get_IsFolder(VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE get_LastAccessTime(DATE* value) override;
    HRESULT STDMETHODCALLTYPE get_LastWriteTime(DATE* value) override;
    HRESULT STDMETHODCALLTYPE get_Name(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_PreciseCreationTime(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_PreciseLastAccessTime(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_PreciseLastWriteTime(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_Size(VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_Folder(_IFolderItem** value) override;

private:
    friend class ComObject<FolderEnumerator, FolderEnumeratorAttributes, LocalEnumeratorAttributes>;
    FolderEnumerator();

    HRESULT EntryAttributes(FileAttributes* value) override;
    std::wstring EntryPathText() const;

    FindHandle search_;
    ComPtr<Path> folder_;
    ComPtr<FindDataRecord> record_;
};

}  // namespace vofs
