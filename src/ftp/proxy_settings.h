#pragma once
// ProxySettings: the record of the proxy FTP connections use. Every property stores and
// answers its value unchanged. Each thread has a default record (FileSystemLib's
// DefaultProxy): the same object for as long as anyone holds it, and every FileSystemLib
// that handed it out holds it. The password is wiped from memory when it is replaced and
// when the record goes.

#include "common/secret_text.h"
#include "frame/com_object.h"
#include "frame/contract.h"

#include <string>

namespace vofs {

struct ThreadState;

class ProxySettings final : public ComObject<ProxySettings, _ProxySettings> {
public:
    static constexpr wchar_t kClassName[] = L"ProxySettings";

    const std::wstring& Address() const { return address_; }
    const std::wstring& UserId() const { return userId_; }
    const std::wstring& Password() const { return password_.Text(); }

    // ---- _ProxySettings
    HRESULT STDMETHODCALLTYPE get_ProxyAddress(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE put_ProxyAddress(BSTR value) override;
    HRESULT STDMETHODCALLTYPE get_ProxyBypass(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE put_ProxyBypass(BSTR value) override;
    HRESULT STDMETHODCALLTYPE get_LocalPort(LONG* value) override;
    HRESULT STDMETHODCALLTYPE put_LocalPort(LONG value) override;
    HRESULT STDMETHODCALLTYPE get_UserIdDelimeter(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE put_UserIdDelimeter(BSTR value) override;
    HRESULT STDMETHODCALLTYPE get_PortDelimeter(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE put_PortDelimeter(BSTR value) override;
    HRESULT STDMETHODCALLTYPE get_UserID(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE put_UserID(BSTR value) override;
    HRESULT STDMETHODCALLTYPE get_Password(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE put_Password(BSTR value) override;

private:
    friend class ComObject<ProxySettings, _ProxySettings>;
    friend ComPtr<ProxySettings> DefaultProxy();
    ProxySettings() = default;
    ~ProxySettings() override;

    std::wstring address_ = L"127.0.0.1";
    std::wstring bypass_;
    LONG localPort_ = 0;
    std::wstring userIdDelimiter_ = L"@";
    std::wstring portDelimiter_ = L":";
    std::wstring userId_;
    SecretText password_;
    // The thread whose default record this is, if it is one.
    ThreadState* defaultOf_ = nullptr;
};

// This thread's default record, made when there is none.
ComPtr<ProxySettings> DefaultProxy();

}  // namespace vofs
