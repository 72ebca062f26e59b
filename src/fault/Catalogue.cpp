#include <array>
#include <string_view>

#include "Kv_Data/Fault.h"
#include "Kv_Data/State.h"
#include "Kv_Data/Util.h"

namespace kv {

namespace {

// How the reverse lookup recognises a suffix: the text left after removing "Fault"
// equals it, or merely contains it.
enum class Match { equal, contained };

struct FaultType {
    int code;
    const char* suffix;
    Match match;
};

// Codes without a row (10, 12, 13, 52-60, 99, 100, 104-106, 114) are reserved gaps.
constexpr FaultType kFaultTypes[] = {
    {0, "A", Match::equal},
    {1, "B", Match::equal},
    {2, "C", Match::equal},
    {3, "AN", Match::equal},
    {4, "BN", Match::equal},
    {5, "CN", Match::equal},
    {6, "AB", Match::equal},
    {7, "BC", Match::equal},
    {8, "CA", Match::equal},
    {9, "ABC", Match::equal},
    {11, "I60", Match::equal},
    {14, "I0", Match::equal},
    {15, "I1", Match::equal},
    {16, "I2", Match::equal},
    {17, "IBC", Match::equal},
    {18, "AB0", Match::equal},
    {19, "BC0", Match::equal},
    {20, "CA0", Match::equal},
    {21, "AE0", Match::equal},
    {22, "BE0", Match::equal},
    {23, "CE0", Match::equal},
    {24, "AB0U", Match::equal},
    {25, "BC0U", Match::equal},
    {26, "CA0U", Match::equal},
    {27, "ABnew", Match::equal},
    {28, "BCnew", Match::equal},
    {29, "CAnew", Match::equal},
    {30, "KZ012", Match::equal},
    {31, "KZ1", Match::equal},
    {32, "KZ2", Match::equal},
    {33, "U0", Match::equal},
    {34, "U1", Match::equal},
    {35, "U2", Match::equal},
    {36, "U2AB", Match::equal},
    {37, "U2BC", Match::equal},
    {38, "U2CA", Match::equal},
    {39, "U2A0", Match::equal},
    {40, "U2B0", Match::equal},
    {41, "U2C0", Match::equal},
    {42, "FazaUA", Match::equal},
    {43, "FazaUB", Match::equal},
    {44, "FazaUC", Match::equal},
    {45, "FazaIA", Match::equal},
    {46, "FazaIB", Match::equal},
    {47, "FazaIC", Match::equal},
    {48, "KZIAUC", Match::equal},
    {49, "KZU1ICA", Match::equal},
    {50, "ACUab180", Match::equal},
    {51, "Udc", Match::equal},
    {61, "U1I2", Match::equal},
    {62, "I30", Match::equal},
    {63, "ABCA", Match::equal},
    {64, "ABCB", Match::equal},
    {65, "ABCC", Match::equal},
    {66, "I30Ua", Match::equal},
    {67, "I30Ub", Match::equal},
    {68, "I30Uc", Match::equal},
    {69, "U2I1", Match::equal},
    {70, "BNU0", Match::equal},
    {71, "ACU2", Match::equal},
    {72, "ABCA0", Match::equal},
    {73, "ABCB0", Match::equal},
    {74, "ABCC0", Match::equal},
    {75, "UcIa", Match::equal},
    {76, "UcIc", Match::equal},
    {77, "UcIabc", Match::equal},
    {78, "UabIa", Match::equal},
    {79, "UabIc", Match::equal},
    {80, "UabIabc", Match::equal},
    {81, "U2I30", Match::equal},
    {82, "U1U30I30", Match::equal},
    {83, "U1I30", Match::equal},
    {84, "I2I1", Match::equal},
    {85, "U30deltaUa", Match::equal},
    {86, "U30deltaUb", Match::equal},
    {87, "U30deltaUc", Match::equal},
    {88, "ABCIA", Match::equal},
    {89, "ABCIB", Match::equal},
    {90, "ABCIC", Match::equal},
    {91, "U30I30", Match::equal},
    {92, "ABC \xEB\xE8\xED", Match::equal},                                          // "ABC лин"
    {93, "AE \xE8\xE7\xEE\xEB.\xED\xE5\xE9\xF2\xF0\xE0\xEB\xFC", Match::equal},      // "AE изол.нейтраль"
    {94, "BE \xE8\xE7\xEE\xEB.\xED\xE5\xE9\xF2\xF0\xE0\xEB\xFC", Match::equal},      // "BE изол.нейтраль"
    {95, "CE \xE8\xE7\xEE\xEB.\xED\xE5\xE9\xF2\xF0\xE0\xEB\xFC", Match::equal},      // "CE изол.нейтраль"
    {96, "UabUcIabc", Match::equal},
    {97, "UbcUaIabc", Match::equal},
    {98, "UcaUbIabc", Match::equal},
    {101, "I2I1U1", Match::equal},
    {102, "U2U1", Match::equal},
    {103, "Universal", Match::contained},
    {107, "I30BNU0", Match::contained},
    {108, "I30BN", Match::contained},
    {109, "BNUNoLoad", Match::equal},
    {110, "BNU0UNoLoad", Match::equal},
    {111, "ABUn", Match::contained},
    {112, "BCUn", Match::contained},
    {113, "CAUn", Match::contained},
    {115, "powerUabOutUcIa", Match::contained},
    {116, "powerUabOutUcIb", Match::contained},
    {117, "powerUabOutUcIc", Match::contained},
    {118, "ABN", Match::contained},
    {119, "BCN", Match::contained},
    {120, "CAN", Match::contained},
    {121, "I216A", Match::contained},
    {122, "U1lin", Match::equal},
    {123, "A1N", Match::equal},
    {124, "Uab180Iab", Match::equal},
    {125, "Ubc180Ibc", Match::equal},
    {126, "Uca180Ica", Match::equal},
    {127, "IaVarIbConst", Match::equal},
    {128, "IaVarIcConst", Match::equal},
    {129, "IbVarIaConst", Match::equal},
    {130, "IbVarIcConst", Match::equal},
    {131, "IcVarIaConst", Match::equal},
    {132, "IcVarIbConst", Match::equal},
};
static_assert(std::size(kFaultTypes) == 115);

constexpr int kLastCode = 132;
constexpr int kFaultA1N = 123;
// An extra name of "FaultU2" that the forward lookup never gives.
constexpr FaultType kAliasU2 = {35, "cstKZU2", Match::equal};

// The row of each code, or null for a gap: built once from the table above.
constexpr std::array<const FaultType*, kLastCode + 1> IndexByCode() {
    std::array<const FaultType*, kLastCode + 1> index{};
    for (const FaultType& type : kFaultTypes) index[static_cast<std::size_t>(type.code)] = &type;
    return index;
}
constexpr auto kByCode = IndexByCode();

// Keeps only what precedes the first `separator`, when it stands after position 0.
void CutAt(CString& text, char separator) {
    const int at = text.Find(separator);
    if (at > 0) text = text.Left(at);
}

}  // namespace

CString GetStringFromDefineKZ(int code) {
    glob_bFault_A1_Enable = 0;
    if (static_cast<unsigned>(code) > kLastCode) return CString();
    const FaultType* type = kByCode[static_cast<std::size_t>(code)];
    if (type == nullptr) return CString();
    if (code == kFaultA1N) {
        switch (glob_dwKavorType) {
            case 35: case 23: case 31: case 30: glob_bFault_A1_Enable = 1; break;
            default: break;
        }
    }
    return CString("Fault") + type->suffix;
}

int GetDefineFromStringKZ(CString name) {
    const int fault = name.Find("Fault");
    if (fault > 0) {  // only when something stands before "Fault"
        name = name.Mid(fault);
        CutAt(name, '_');
        CutAt(name, '/');
    }
    const CString suffix = RemoveSubString(name, "Fault");
    if (suffix == kAliasU2.suffix) return kAliasU2.code;
    for (const FaultType& type : kFaultTypes)
        if (type.match == Match::equal && suffix == type.suffix) return type.code;
    // Table order is the search order: "I30BNU0" before "I30BN", and so on.
    for (const FaultType& type : kFaultTypes)
        if (type.match == Match::contained && suffix.Find(type.suffix) >= 0) return type.code;
    return -1;
}

}  // namespace kv
