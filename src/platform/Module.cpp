#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "Kv_Data/PlatformModule.h"
#include "Kv_Data/PlatformString.h"
#include "ModuleInternal.h"

namespace kv {

namespace {

struct Module {
    std::uintptr_t key;
    std::map<WORD, std::string> strings;
};

struct ModuleRegistry {
    std::mutex mutex;
    std::vector<Module> modules;  // in order of registration
    std::uintptr_t nextKey = 1;
    std::uintptr_t library = 0;   // the library's own module, 0 before load
};

ModuleRegistry& Registry() {
    static ModuleRegistry registry;
    return registry;
}

std::uintptr_t Key(HINSTANCE module) { return reinterpret_cast<std::uintptr_t>(module); }

const Module* Find(const ModuleRegistry& registry, std::uintptr_t key) {
    for (const Module& module : registry.modules)
        if (module.key == key) return &module;
    return nullptr;
}

const std::string* FindString(const Module& module, UINT id) {
    const auto found = module.strings.find(static_cast<WORD>(id & 0xFFFF));
    return found == module.strings.end() ? nullptr : &found->second;
}

// The host program's tables in their order, then the library's: the chain that a
// string loaded without naming a module is looked up in.
const std::string* FindInChain(const ModuleRegistry& registry, UINT id, bool includeLibrary) {
    for (const Module& module : registry.modules) {
        if (module.key == registry.library) continue;
        if (const std::string* text = FindString(module, id)) return text;
    }
    if (includeLibrary) {
        if (const Module* library = Find(registry, registry.library))
            if (const std::string* text = FindString(*library, id)) return text;
    }
    return nullptr;
}

int CopyString(const std::string* text, char* buffer, int bufferMax) {
    if (buffer == nullptr || bufferMax <= 0) return 0;
    // An empty string is no string, as in the platform's tables.
    const std::size_t length = text == nullptr ? 0 : std::min<std::size_t>(text->size(), static_cast<std::size_t>(bufferMax - 1));
    if (length > 0) std::memcpy(buffer, text->data(), length);
    buffer[length] = '\0';
    return static_cast<int>(length);
}

DWORD CopyPath(const std::string& path, char* buffer, DWORD size) {
    if (path.empty() || buffer == nullptr || size == 0) return 0;
    if (path.size() >= size) {
        std::memcpy(buffer, path.data(), size - 1);
        buffer[size - 1] = '\0';
        return size;
    }
    std::memcpy(buffer, path.c_str(), path.size() + 1);
    return static_cast<DWORD>(path.size());
}

}  // namespace

HINSTANCE RegisterStringTable(std::span<const StringTableEntry> entries) {
    Module module;
    for (const StringTableEntry& entry : entries) module.strings[entry.id] = entry.text != nullptr ? entry.text : "";
    ModuleRegistry& registry = Registry();
    std::lock_guard lock(registry.mutex);
    module.key = registry.nextKey++;
    registry.modules.push_back(std::move(module));
    return reinterpret_cast<HINSTANCE>(registry.modules.back().key);
}

BOOL UnregisterStringTable(HINSTANCE module) {
    ModuleRegistry& registry = Registry();
    std::lock_guard lock(registry.mutex);
    const std::uintptr_t key = Key(module);
    if (key == registry.library) return FALSE;
    return std::erase_if(registry.modules, [key](const Module& m) { return m.key == key; }) > 0;
}

HINSTANCE GetKvDataInstance() {
    ModuleRegistry& registry = Registry();
    std::lock_guard lock(registry.mutex);
    return reinterpret_cast<HINSTANCE>(registry.library);
}

void platform::SetKvDataInstance(HINSTANCE module) {
    ModuleRegistry& registry = Registry();
    std::lock_guard lock(registry.mutex);
    registry.library = Key(module);
}

HRSRC FindResourceA(HMODULE module, const char* name, const char* type) {
    if (type != RT_STRING || reinterpret_cast<std::uintptr_t>(name) > 0xFFFF) return nullptr;
    const auto block = static_cast<WORD>(reinterpret_cast<std::uintptr_t>(name));
    ModuleRegistry& registry = Registry();
    std::lock_guard lock(registry.mutex);
    const Module* found = Find(registry, Key(module));
    if (found == nullptr || block == 0) return nullptr;
    const unsigned first = (block - 1U) * 16U;
    if (first > 0xFFFF) return nullptr;  // past the last 16-bit id
    const auto candidate = found->strings.lower_bound(static_cast<WORD>(first));
    if (candidate == found->strings.end() || candidate->first > first + 15) return nullptr;
    // The handle names the block; nothing in this layer reads it back.
    return reinterpret_cast<HRSRC>(static_cast<std::uintptr_t>(block));
}

int LoadStringA(HINSTANCE module, UINT id, char* buffer, int bufferMax) {
    ModuleRegistry& registry = Registry();
    std::lock_guard lock(registry.mutex);
    if (module == nullptr) return CopyString(FindInChain(registry, id, false), buffer, bufferMax);
    const Module* found = Find(registry, Key(module));
    return CopyString(found != nullptr ? FindString(*found, id) : nullptr, buffer, bufferMax);
}

BOOL CString::LoadString(UINT id) {
    ModuleRegistry& registry = Registry();
    std::lock_guard lock(registry.mutex);
    const std::string* text = FindInChain(registry, id, true);
    *this = text != nullptr ? CString(*text) : CString();
    return text != nullptr && !text->empty();
}

DWORD GetModuleFileNameA(HMODULE module, char* buffer, DWORD size) {
    if (module == nullptr) {
        std::string path(4096, '\0');
        const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
        if (length <= 0) return 0;
        path.resize(static_cast<std::size_t>(length));
        return CopyPath(path, buffer, size);
    }
    if (module != GetKvDataInstance()) return 0;
    Dl_info info{};
    if (::dladdr(reinterpret_cast<void*>(&GetKvDataInstance), &info) == 0 || info.dli_fname == nullptr) return 0;
    return CopyPath(info.dli_fname, buffer, size);
}

}  // namespace kv
