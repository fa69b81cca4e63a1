#pragma once
// The asynchronous-transfer members that the backup reader and writer hand on to their
// byte stream: a face of their interface whose members forward to the stream the class
// names (error 91 when it has none), the stream's own errors passing through unchanged.

#include "common/error.h"
#include "frame/com_object.h"
#include "frame/contract.h"

namespace vofs {

template <class Interface, const wchar_t* ClassName>
class ForwardsAsyncIo : public InterfaceFace<Interface> {
public:
    HRESULT STDMETHODCALLTYPE AsyncWaitOnIo(LONG TimeoutValue, QueueStatus WakeMask, VARIANT_BOOL* value) override {
        return Forward([&](_IFileStream& stream) { return stream.AsyncWaitOnIo(TimeoutValue, WakeMask, value); });
    }
    HRESULT STDMETHODCALLTYPE get_AsyncBytesTransfered(LONG* value) override {
        return Forward([&](_IFileStream& stream) { return stream.get_AsyncBytesTransfered(value); });
    }
    HRESULT STDMETHODCALLTYPE get_AsyncBytesToTransfer(LONG* value) override {
        return Forward([&](_IFileStream& stream) { return stream.get_AsyncBytesToTransfer(value); });
    }
    HRESULT STDMETHODCALLTYPE get_AsyncErrorNumber(LONG* value) override {
        return Forward([&](_IFileStream& stream) { return stream.get_AsyncErrorNumber(value); });
    }
    HRESULT STDMETHODCALLTYPE get_AsyncErrorDescription(BSTR* value) override {
        return Forward([&](_IFileStream& stream) { return stream.get_AsyncErrorDescription(value); });
    }
    HRESULT STDMETHODCALLTYPE get_AsyncIoPending(VARIANT_BOOL* value) override {
        return Forward([&](_IFileStream& stream) { return stream.get_AsyncIoPending(value); });
    }
    HRESULT STDMETHODCALLTYPE AsyncCancelIo() override {
        return Forward([&](_IFileStream& stream) { return stream.AsyncCancelIo(); });
    }
    HRESULT STDMETHODCALLTYPE GetAsyncIoBuffer(VARIANT* value) override {
        return Forward([&](_IFileStream& stream) { return stream.GetAsyncIoBuffer(value); });
    }
    HRESULT STDMETHODCALLTYPE AsyncErrorRaise() override {
        return Forward([&](_IFileStream& stream) { return stream.AsyncErrorRaise(); });
    }

protected:
    // The byte stream, or null.
    virtual _IFileStream* ForwardedStream() = 0;

private:
    template <class Call>
    HRESULT Forward(Call&& call) noexcept {
        return Boundary(ClassName, __uuidof(Interface), [&] {
            _IFileStream* stream = ForwardedStream();
            if (!stream) Raise(RunTimeError::ObjectNotSet);
            CheckCall(call(*stream));
        });
    }
};

}  // namespace vofs
