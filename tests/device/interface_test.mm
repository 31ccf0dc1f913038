// The Linux library's classes, as the runtime shows them, against the table that the device's
// metadata is compared with. This runtime keeps no properties and no protocols of categories.

#import <Foundation/Foundation.h>
#import <veltro/veltro.h>

#include <fstream>
#include <gtest/gtest.h>
#include <objc/runtime.h>
#include <sstream>
#include <string>

namespace {

struct Line {
  std::string kind;
  std::string name;
  std::string encoding;
};

struct Entry {
  std::string class_name;
  std::string superclass; // empty for a category
  std::vector<Line> lines;
};

/// The table's column for this word size, the second one for 32 bits: "class NAME : SUPER" or
/// "category NAME (TAG)", then indented lines of kind, name and encoding.
std::vector<Entry> read_table() {
  std::ifstream file(VELTRO_SOURCE_DIR "/tests/device/interface.txt");
  std::vector<Entry> entries;
  for (std::string text; std::getline(file, text);) {
    std::istringstream words(text);
    if (text.empty())
      continue;
    if (text.starts_with("  ")) {
      Line line;
      std::string mark;
      std::string narrow;
      words >> line.kind >> line.name >> line.encoding;
      if (sizeof(void *) == 4 && words >> mark >> narrow && mark == "|")
        line.encoding = narrow;
      entries.back().lines.push_back(line);
    } else {
      Entry entry;
      std::string what;
      std::string mark;
      words >> what >> entry.class_name >> mark;
      if (what == "class")
        words >> entry.superclass;
      entries.push_back(entry);
    }
  }
  return entries;
}

/// BOOL is an unsigned char on this runtime, bool on 64-bit devices and a signed char on 32-bit
/// ones.
std::string on_linux(std::string encoding) {
  for (char &character : encoding)
    if (character == 'B' || (sizeof(void *) == 4 && character == 'c'))
      character = 'C';
  return encoding;
}

TEST(Interface, TableIsThere) {
  EXPECT_GE(read_table().size(), 10U);
}

TEST(Interface, ClassesHaveTheirSuperclasses) {
  for (const Entry &entry : read_table()) {
    const Class found = objc_getClass(entry.class_name.c_str());
    ASSERT_NE(found, Nil) << entry.class_name;
    if (!entry.superclass.empty()) {
      EXPECT_STREQ(class_getName(class_getSuperclass(found)), entry.superclass.c_str());
    }
  }
}

TEST(Interface, MethodsHaveTheirTypes) {
  for (const Entry &entry : read_table()) {
    const Class found = objc_getClass(entry.class_name.c_str());
    for (const Line &line : entry.lines) {
      if (line.kind != "+" && line.kind != "-")
        continue;
      const SEL selector = sel_registerName(line.name.c_str());
      const Method method = line.kind == "+" ? class_getClassMethod(found, selector)
                                             : class_getInstanceMethod(found, selector);
      ASSERT_NE(method, nullptr) << entry.class_name << ' ' << line.kind << line.name;
      EXPECT_EQ(on_linux(method_getTypeEncoding(method)), on_linux(line.encoding))
          << entry.class_name << ' ' << line.kind << line.name;
    }
  }
}

TEST(Interface, InstanceVariablesHaveTheirTypes) {
  for (const Entry &entry : read_table()) {
    const Class found = objc_getClass(entry.class_name.c_str());
    for (const Line &line : entry.lines) {
      if (line.kind != "ivar")
        continue;
      const Ivar variable = class_getInstanceVariable(found, line.name.c_str());
      ASSERT_NE(variable, nullptr) << entry.class_name << ' ' << line.name;
      EXPECT_EQ(on_linux(ivar_getTypeEncoding(variable)), on_linux(line.encoding))
          << entry.class_name << ' ' << line.name;
    }
  }
}

} // namespace
