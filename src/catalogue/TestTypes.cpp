#include "Kv_Data/Catalogue.h"
#include "Kv_Data/PlatformModule.h"
#include "Kv_Data/Util.h"

namespace kv {

namespace {

// Where GetTestFromString accepts a row's English search key in the text.
enum class At { anywhere, afterStart };

struct TestType {
    int code;
    const char* key;        // GetStringFromTest
    int nameId;             // the Russian name in the library's string table
    const char* searchKey;  // the English key GetTestFromString looks for; null: none
    At at;
};

// The search keys of 0, 1, 2 and 10 differ from their keys, and 60 and 61 have none:
// texts written by the suite's programs depend on exactly these. The synonyms 20, 22,
// 23 and 24 are never searched (their names give 0 and 3).
constexpr TestType kTestTypes[] = {
    {0, "FiMCh", 1288, "Phi", At::anywhere},
    {1, "Zoperate", 1289, "Zset", At::anywhere},
    {2, "Zoffs", 1290, "Offset", At::anywhere},
    {3, "Eks", 1291, "Eks", At::anywhere},
    {4, "GraphZfromFi", 1292, "GraphZfromFi", At::anywhere},
    {5, "GraphZfromI", 1293, "GraphZfromI", At::anywhere},
    {10, "GraphTfromZ", 1294, "GraphZfromT", At::anywhere},
    // "Memory" alone is not recognised, "SideMemory" is.
    {11, "Memory", 1296, "Memory", At::afterStart},
    {18, "GraphTfromI", 1295, "GraphTfromI", At::anywhere},
    {20, "FiMCh", 1288, nullptr, At::anywhere},
    {22, "FiMCh", 1288, nullptr, At::anywhere},
    {23, "FiMCh", 1288, nullptr, At::anywhere},
    {24, "Eks", 1291, nullptr, At::anywhere},
    {60, "RightSide", 1297, nullptr, At::anywhere},
    {61, "SideMemory", 1298, nullptr, At::anywhere},
    {62, "GraphTfromU", 1299, "GraphTfromU", At::anywhere},
    {63, "GraphUI", 1300, "GraphUI", At::anywhere},
};

// The order in which GetTestFromString tries the rows. Containment makes it matter:
// "TI" (18) is tried before "UI" (63), and 11 before 61, which has no English key.
constexpr int kSearchOrder[] = {0, 1, 2, 3, 4, 5, 10, 18, 62, 63, 11, 60, 61};

constexpr int kToleranceTest = 210;
constexpr int kZfNameId = 1292;  // "Z(ф)": with "Tolerance" it names the tolerance test

const TestType* FindTestType(int test) {
    for (const TestType& row : kTestTypes)
        if (row.code == test) return &row;
    return nullptr;
}

// The Russian name as GetTestFromString looks for it: without its brackets.
CString SearchName(int id) { return TrimBrackets(LoadStringFromDLL(GetKvDataInstance(), id)); }

}  // namespace

CString GetStringFromResource(UINT id) {
    CString text;
    text.LoadString(id);
    return text;
}

CString GetStringFromTest(int test) {
    if (static_cast<unsigned>(test) > 63U) return CString();
    const TestType* row = FindTestType(test);
    return row != nullptr ? CString(row->key) : CString();
}

CString GetStringFromTestRus(int test) {
    const TestType* row = FindTestType(test);
    if (row == nullptr) return CString();
    return LoadStringFromDLL(GetKvDataInstance(), row->nameId);
}

int GetTestFromString(CString text) {
    if (text.Find('_') >= 0) text = text.Mid(text.ReverseFind('_') + 1);

    if (text.Find((SearchName(kZfNameId) + "Tolerance").GetString()) >= 0) return kToleranceTest;

    for (int code : kSearchOrder) {
        const TestType* row = FindTestType(code);
        if (text.Find(SearchName(row->nameId).GetString()) >= 0) return code;
        if (row->searchKey == nullptr) continue;
        const int at = text.Find(row->searchKey);
        if (row->at == At::anywhere ? at >= 0 : at > 0) return code;
    }
    return -1;
}

}  // namespace kv
