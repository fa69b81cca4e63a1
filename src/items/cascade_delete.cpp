#include "items/cascade_delete.h"

#include "common/bstr.h"
#include "common/error.h"
#include "paths/path_text.h"

namespace vofs {
namespace {

// One step of the walk; with ignoreErrors its failure is skipped. Returns whether it ran
// to its end.
template <class Step>
bool Attempt(const CascadeOptions& options, Step step) {
    try {
        step();
        return true;
    } catch (const AutomationError&) {
        if (!options.ignoreErrors) throw;
        return false;
    }
}

bool IsFolder(_IFolderItem* item) {
    VARIANT_BOOL folder = VARIANT_FALSE;
    CheckCall(item->get_IsFolder(&folder));
    return folder != VARIANT_FALSE;
}

ComPtr<_IFolderItem> CurrentItem(_IFolderEnumerator* entries) {
    ComPtr<_IFolderItem> item;
    CheckCall(entries->GetFolderItem(&item));
    if (!item) Raise(RunTimeError::InvalidObjectUse);
    return item;
}

void DeleteItem(_IFolderItem* item) { CheckCall(item->Delete()); }

void DeleteEntry(_IFolderEnumerator* entries, const CascadeOptions& options) {
    Bstr name;
    VARIANT_BOOL folder = VARIANT_FALSE;
    CheckCall(entries->get_Name(name.Receive()));
    // A walk must never reach back into the folder itself or its parent, whatever order
    // a listing (an FTP server's, say) gives "." and "..", nor through a name such as " "
    // whose path names the folder itself (the walk would never end).
    if (path_text::NamesItsOwnFolder(name.View())) return;
    CheckCall(entries->get_IsFolder(&folder));
    if (!folder) {
        Attempt(options, [&] { DeleteItem(CurrentItem(entries).Get()); });
        return;
    }
    if (!options.includeSubFolders) return;
    Attempt(options, [&] {
        const ComPtr<_IFolderItem> subfolder = CurrentItem(entries);
        Bstr filter(options.filter);
        CheckCall(subfolder->CascadeDelete(filter.Get(), options.ignoreErrors ? VARIANT_TRUE : VARIANT_FALSE,
                                           VARIANT_FALSE, options.includeSubFolders ? VARIANT_TRUE : VARIANT_FALSE,
                                           options.recurse ? VARIANT_TRUE : VARIANT_FALSE));
    });
    Attempt(options, [&] { DeleteItem(CurrentItem(entries).Get()); });
}

}  // namespace

void CascadeDelete(_IFolderItem* item, const CascadeOptions& options) {
    bool folder = false;
    Attempt(options, [&] { folder = IsFolder(item); });
    if (!folder) {
        Attempt(options, [&] { DeleteItem(item); });
        return;
    }

    ComPtr<_IFolderEnumerator> entries;
    Attempt(options, [&] {
        Bstr noFilter;
        CheckCall(item->EnumFolder(noFilter.Get(), &entries));
    });
    if (!entries) {
        if (!options.contentsOnly) Attempt(options, [&] { DeleteItem(item); });
        return;
    }
    VARIANT_BOOL open = VARIANT_FALSE;
    Attempt(options, [&] { CheckCall(entries->get_IsOpen(&open)); });
    if (!open) {
        // No first entry: nothing is deleted, the folder itself included.
        Attempt(options, [&] { CheckCall(entries->CloseEnumerator()); });
        return;
    }
    for (bool more = true; more;) {
        Attempt(options, [&] { DeleteEntry(entries.Get(), options); });
        VARIANT_BOOL next = VARIANT_FALSE;
        // A failed move ends the walk (the enumerator has closed itself).
        more = Attempt(options, [&] { CheckCall(entries->GetNextItem(&next)); }) && next != VARIANT_FALSE;
    }
    if (!options.contentsOnly) Attempt(options, [&] { DeleteItem(item); });
    Attempt(options, [&] { CheckCall(entries->CloseEnumerator()); });
}

}  // namespace vofs
