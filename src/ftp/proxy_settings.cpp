#include "ftp/proxy_settings.h"

#include "common/thread_state.h"

namespace vofs {

ProxySettings::~ProxySettings() {
    if (defaultOf_ && defaultOf_->defaultProxy == this) defaultOf_->defaultProxy = nullptr;
}

ComPtr<ProxySettings> DefaultProxy() {
    ThreadState& state = ThisThread();
    if (state.defaultProxy) return ComPtr<ProxySettings>(state.defaultProxy);
    ComPtr<ProxySettings> proxy = ProxySettings::Make();
    proxy->defaultOf_ = &state;
    state.defaultProxy = proxy.Get();
    return proxy;
}

HRESULT ProxySettings::get_ProxyAddress(BSTR* value) {
    return Get(value, [&] { return address_; });
}
HRESULT ProxySettings::put_ProxyAddress(BSTR value) {
    return Run([&] { address_ = Bstr::View(value); });
}
HRESULT ProxySettings::get_ProxyBypass(BSTR* value) {
    return Get(value, [&] { return bypass_; });
}
HRESULT ProxySettings::put_ProxyBypass(BSTR value) {
    return Run([&] { bypass_ = Bstr::View(value); });
}
HRESULT ProxySettings::get_LocalPort(LONG* value) {
    return Get(value, [&] { return localPort_; });
}
HRESULT ProxySettings::put_LocalPort(LONG value) {
    return Run([&] { localPort_ = value; });
}
HRESULT ProxySettings::get_UserIdDelimeter(BSTR* value) {
    return Get(value, [&] { return userIdDelimiter_; });
}
HRESULT ProxySettings::put_UserIdDelimeter(BSTR value) {
    return Run([&] { userIdDelimiter_ = Bstr::View(value); });
}
HRESULT ProxySettings::get_PortDelimeter(BSTR* value) {
    return Get(value, [&] { return portDelimiter_; });
}
HRESULT ProxySettings::put_PortDelimeter(BSTR value) {
    return Run([&] { portDelimiter_ = Bstr::View(value); });
}
HRESULT ProxySettings::get_UserID(BSTR* value) {
    return Get(value, [&] { return userId_; });
}
HRESULT ProxySettings::put_UserID(BSTR value) {
    return Run([&] { userId_ = Bstr::View(value); });
}
HRESULT ProxySettings::get_Password(BSTR* value) {
    return Get(value, [&] { return password_.Text(); });
}
HRESULT ProxySettings::put_Password(BSTR value) {
    return Run([&] { password_ = Bstr::View(value); });
}

}  // namespace vofs
