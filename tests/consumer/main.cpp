// Uses the installed library as a client program would: through the umbrella header,
// the exported globals and functions, and the platform layer's archive.
#include <cstdio>

#include "Kv_Data.h"

int main() {
    int failures = 0;
    auto check = [&failures](bool ok, const char* what) {
        std::printf("%s: %s\n", ok ? "ok" : "FAILED", what);
        if (!ok) ++failures;
    };

    check(kv::GetKvDataInstance() != nullptr, "the library's module handle exists once loaded");
    check(kv::glob_bUseInFieldPoint == 1, "an exported global holds its default");

    kv::CMemFile file;
    {
        kv::CArchive ar(&file, kv::CArchive::store);
        ar << 0.25 << static_cast<kv::BYTE>(7);
        ar.Close();
    }
    check(file.Bytes().size() == 9, "an archive stores a double and a byte as 9 bytes");

    kv::CString field;
    check(kv::AfxExtractSubString(field, "1;0.05;2", 1, ';') && field == "0.05", "field extraction");

    if (failures == 0)
        std::printf("consumer: every check holds\n");
    else
        std::printf("consumer: %d checks failed\n", failures);
    return failures == 0 ? 0 : 1;
}
