#pragma once
// What late binding needs to know about one dual interface, read once from its type
// information and kept for the module's life: each member's dispatch identifier, kind,
// vtable slot, parameters (their types, optional flags, defaults and names) and result,
// and the member names, hashed case-insensitively as automation requires.

#include "common/platform_headers.h"
#include "common/variant.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vofs {

// How a value crosses between a caller's VARIANT and a member's C++ parameter.
enum class ValueKind : unsigned char {
    Scalar,      // a value held in the VARIANT's union: BSTR, long (enumerations too), ...
    Variant,     // VARIANT by value
    VariantRef,  // [in, out] VARIANT*
    Interface,   // an interface pointer
};

struct ValueType {
    ValueKind kind = ValueKind::Scalar;
    VARTYPE type = VT_EMPTY;  // Scalar: its type; Interface: VT_DISPATCH or VT_UNKNOWN
    IID iid = IID_NULL;       // Interface: the interface the member takes or gives
};

struct Parameter {
    ValueType type;
    bool optional = false;
    bool hasDefault = false;
    Variant defaultValue;  // already of the parameter's type (an interface's default is null)
    std::wstring name;
};

struct Member {
    DISPID id = DISPID_UNKNOWN;
    INVOKEKIND kind = INVOKE_FUNC;
    ULONG_PTR vtableOffset = 0;  // in bytes
    bool callable = true;        // false when a type could not be read
    std::vector<Parameter> parameters;  // the [out, retval] one excluded
    bool hasResult = false;
    ValueType result;

    // The position of a parameter by its name (case-insensitive), or -1.
    int ParameterNamed(std::wstring_view name) const;
};

class MemberTable {
public:
    // Reads a dual interface's members from its type information (either its dispatch
    // view or its interface view). A type it cannot read leaves the table empty.
    explicit MemberTable(ITypeInfo* info);

    // The member with this identifier whose kind the invoke flags ask for, or null.
    const Member* Find(DISPID id, WORD flags) const;
    // The identifier of a member name, or DISPID_UNKNOWN.
    DISPID IdOfName(std::wstring_view name) const;
    // Some member with this identifier (for its parameter names), or null.
    const Member* AnyWithId(DISPID id) const;

private:
    struct FoldedHash {
        using is_transparent = void;
        size_t operator()(std::wstring_view name) const noexcept;
    };
    struct FoldedEqual {
        using is_transparent = void;
        bool operator()(std::wstring_view left, std::wstring_view right) const noexcept;
    };

    void Read(ITypeInfo* info);

    std::vector<Member> members_;  // ordered by identifier
    std::unordered_map<std::wstring, DISPID, FoldedHash, FoldedEqual> names_;
};

// Automation's case-insensitive name comparison for the ASCII names of the contract.
bool NamesEqual(std::wstring_view left, std::wstring_view right) noexcept;

}  // namespace vofs
