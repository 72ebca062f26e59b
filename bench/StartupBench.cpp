// Library start-up and teardown: dlopen and dlclose of the built library.
//
// The program links the library already, and dlopen of that file would only count one
// more reference. So the library is copied to a file of its own, which the loader maps
// and starts up afresh on every dlopen and unloads on every dlclose: relocation, the
// static initialisers (exported state, class registration, string table) and their
// teardown. RTLD_DEEPBIND makes the copy bind to its own state rather than to the
// linked copy's, which it would otherwise initialise and destroy a second time.

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "Kv_Data/PlatformString.h"

#ifndef KV_DATA_LIBRARY_PATH
#error "KV_DATA_LIBRARY_PATH must name the built library"
#endif

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;  // the sanitizer runtime refuses RTLD_DEEPBIND
#else
constexpr bool kSanitized = false;
#endif

// As a program loads it: functions bound on first call.
constexpr int kFlags = RTLD_LAZY | RTLD_LOCAL | RTLD_DEEPBIND;

// A copy of the library beside the original, removed at exit.
class LibraryCopy {
public:
    LibraryCopy() {
        const std::string original = KV_DATA_LIBRARY_PATH;
        std::ifstream in(original, std::ios::binary);
        if (!in) return;
        const std::vector<char> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
        if (bytes.empty()) return;
        std::string name = original + ".bench-XXXXXX";
        const int fd = mkstemp(name.data());
        if (fd < 0) return;
        const bool written = write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
        close(fd);
        m_path = name;
        if (!written) m_path.clear();
    }
    ~LibraryCopy() {
        if (!m_path.empty()) unlink(m_path.c_str());
    }
    LibraryCopy(const LibraryCopy&) = delete;
    LibraryCopy& operator=(const LibraryCopy&) = delete;

    // Empty when the copy could not be made.
    const std::string& Path() const { return m_path; }

private:
    std::string m_path;
};

const LibraryCopy& Copy() {
    static const LibraryCopy copy;
    return copy;
}

// The mangled name of a global of namespace kv.
std::string Global(const char* name) { return "_ZN2kv" + std::to_string(std::strlen(name)) + name + "E"; }

// Null when one load and unload of the copy did what is measured: its own start-up, on
// its own state, and an unload that really removes it.
const char* CheckCopy(const std::string& path) {
    void* handle = dlopen(path.c_str(), kFlags);
    if (handle == nullptr) return dlerror();
    const char* problem = nullptr;
    const auto* user = static_cast<const kv::CString*>(dlsym(handle, Global("glob_strUserOriginal").c_str()));
    if (user == nullptr)
        problem = "the copy exports no glob_strUserOriginal";
    else if (std::strcmp(user->GetString(), "User") != 0)
        problem = "the copy's start-up did not initialise its own state";
    dlclose(handle);
    if (problem != nullptr) return problem;
    if (void* still = dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD)) {
        dlclose(still);
        return "dlclose leaves the copy loaded";
    }
    return nullptr;
}

void BM_LibraryStartup(benchmark::State& state) {
    if (kSanitized) {
        state.SkipWithError("not measured under the address sanitizer");
        return;
    }
    const std::string& path = Copy().Path();
    if (path.empty()) {
        kvbench::Fail(state, "cannot copy the library beside " KV_DATA_LIBRARY_PATH);
        return;
    }
    if (const char* problem = CheckCopy(path)) {
        kvbench::Fail(state, problem);
        return;
    }
    for (auto _ : state) {
        void* handle = dlopen(path.c_str(), kFlags);
        if (handle == nullptr) {
            kvbench::Fail(state, dlerror());
            break;
        }
        dlclose(handle);
    }
}
BENCHMARK(BM_LibraryStartup)->Unit(benchmark::kMicrosecond);

}  // namespace
