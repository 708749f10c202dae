// Every function of the library's interface is exported by its plain C name
// from the shared library, and nothing C++-mangled leaks out.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace {

TEST(Exports, EveryInterfaceFunctionResolvesFromTheSharedLibrary) {
    void* lib = dlopen(KOVO_SHARED_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(lib, nullptr) << dlerror();
    std::ifstream in(KOVO_SOURCE_DIR "/tests/sdk/exports.txt");
    std::vector<std::string> names;
    for (std::string line; std::getline(in, line);)
        if (!line.empty() && line[0] != '#') names.push_back(line);
    ASSERT_GT(names.size(), 100u);
    std::vector<std::string> missing;
    for (const auto& name : names)
        if (!dlsym(lib, name.c_str())) missing.push_back(name);
    EXPECT_TRUE(missing.empty()) << "missing " << missing.size() << ", first: " << missing.front();
    // Internals are hidden.
    EXPECT_EQ(dlsym(lib, "_ZN8CConnectC1Ev"), nullptr);
    dlclose(lib);
}

}  // namespace
