// Where an atomic write puts its temporary file, and the plug-in search
// against the built plug-in. Atomic writing itself is tested through
// writeAlignmentFile in tests/host.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "app/plugin_loader.h"
#include "host/file_io.h"

using namespace karvo_app;

TEST(AtomicFile, FolderOfABareNameIsTheCurrentFolder) {
  EXPECT_EQ(KARVO::folderOf("out.fa"), ".");
  EXPECT_EQ(KARVO::folderOf("/out.fa"), "/");
  EXPECT_EQ(KARVO::folderOf("a/b/out.fa"), "a/b");
}

TEST(PluginSearch, ExplicitFolderIsTheOnlyPlaceElseThePathVariableBeforeTheExecutableAndInstalledFolders) {
  EXPECT_EQ(pluginSearchDirs({"/opt/p", "/a:/b", "/bin"}), std::vector<std::string>{"/opt/p"});
  EXPECT_EQ(pluginSearchDirs({"", "/a::/b:", "/opt/k/bin"}),
            (std::vector<std::string>{"/a", "/b", "/opt/k/bin", besideExecutable("/opt/k/bin", kInstalledPluginDir)}));
  EXPECT_EQ(besideExecutable("/opt/k/bin", "../lib/karvo/plugins"), "/opt/k/lib/karvo/plugins");
  EXPECT_EQ(besideExecutable("/opt/k/bin/", "../lib/"), "/opt/k/lib");
  EXPECT_EQ(besideExecutable("", "../lib"), "");
}

TEST(PluginLoader, MissingPluginNamesTheFoldersSearched) {
  try {
    loadPlugin({"/nonexistent-a", "/nonexistent-b"}, kPluginFileNames);
    FAIL() << "no error";
  } catch (const PluginError& error) {
    const std::string message = error.what();
    EXPECT_NE(message.find("libZemtraBatch.so.0 or libZemtra.so.0"), std::string::npos);
    EXPECT_NE(message.find("/nonexistent-a, /nonexistent-b"), std::string::npos);
  }
}

TEST(PluginLoader, PrefersTheWindowlessBuildAndLoadsNoToolkit) {
  auto plugin = loadPlugin({PLUGIN_DIR}, kPluginFileNames);
  EXPECT_TRUE(plugin->path().ends_with("/libZemtraBatch.so.0"));
  EXPECT_NE(plugin->executeWithParameters(), nullptr);
  EXPECT_NE(plugin->symbol("SetDebugOutput"), nullptr);
  EXPECT_EQ(plugin->symbol("Execute1"), nullptr);
  std::ifstream maps("/proc/self/maps");
  const std::string mapped((std::istreambuf_iterator<char>(maps)), std::istreambuf_iterator<char>());
  EXPECT_EQ(mapped.find("libQt6"), std::string::npos);
}

TEST(PluginLoader, TakesTheWindowedBuildWhereAFolderHasOnlyThat) {
  if (!ZEMTRA_WINDOWED) GTEST_SKIP() << "built without Qt 6";
  auto plugin = loadPlugin({PLUGIN_DIR}, {"libZemtra.so.0"});
  EXPECT_NE(plugin->executeWithParameters(), nullptr);
  EXPECT_NE(plugin->symbol("Execute1"), nullptr);
}

TEST(PluginLoader, SymbolsOfDependenciesDoNotCount) {
  auto plugin = loadPlugin({PLUGIN_DIR}, kPluginFileNames);
  // Defined by libkarvo, which the plug-in depends on.
  EXPECT_EQ(plugin->symbol("_ZN6Config17GetPersonalTmpDirEv"), nullptr);
}

TEST(PluginList, ListsThePluginOnceAndNoOtherLibrary) {
  if (!ZEMTRA_WINDOWED) GTEST_SKIP() << "built without Qt 6";
  const std::vector<PluginInfo> plugins = listPlugins({PLUGIN_DIR});
  ASSERT_EQ(plugins.size(), 1u);
  EXPECT_TRUE(plugins[0].name.starts_with("libZemtra.so"));
}
