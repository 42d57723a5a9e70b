#include "tests/support/xml_leaks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>

namespace testsupport {
namespace {

/// Runs a line of the shell to its end; returns its exit status, and its standard output in `output`.
int RunCommand(const char* command, std::string& output) {
  FILE* pipe = popen(command, "r");
  if (pipe == nullptr) return -1;
  std::array<char, 4096> buffer;
  std::size_t size = 0;
  while ((size = fread(buffer.data(), 1, buffer.size(), pipe)) > 0) output.append(buffer.data(), size);
  const int status = pclose(pipe);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(XmlLeaks, TestThatKeepsADocumentFailsAndTheNextOneDoesNot) {
  std::string output;
  EXPECT_EQ(RunCommand(TESTSUPPORT_LEAKY_PROBE, output), 1);
  EXPECT_THAT(output, testing::HasSubstr("libxml2 allocations of this test were not freed"));
  EXPECT_THAT(output, testing::HasSubstr("[  FAILED  ] LeakyProbe.KeepsADocument"));
  EXPECT_THAT(output, testing::HasSubstr("[       OK ] LeakyProbe.KeepsNothing"));
}

TEST(XmlLeaks, AllocationsOfEveryKindAreCountedUntilFreed) {
  const long before = OutstandingXmlAllocations();
  void* block = xmlMalloc(1);
  block = xmlRealloc(block, 100000);
  char* copy = xmlMemStrdup("text");
  EXPECT_STREQ(copy, "text");
  EXPECT_EQ(OutstandingXmlAllocations(), before + 2);
  xmlFree(block);
  xmlFree(copy);
  EXPECT_EQ(OutstandingXmlAllocations(), before);
}

TEST(XmlLeaks, AllocationOfAnotherThreadIsCounted) {
  const long before = OutstandingXmlAllocations();
  xmlDoc* document = nullptr;
  std::thread([&document] { document = xmlNewDoc(nullptr); }).join();
  EXPECT_GT(OutstandingXmlAllocations(), before);
  xmlFreeDoc(document);
  EXPECT_EQ(OutstandingXmlAllocations(), before);
}

TEST(XmlLeaks, ErrorThatLibxmlRemembersIsNotALeak) {
  const long before = OutstandingXmlAllocations();
  EXPECT_EQ(xmlReadMemory("<a>", 3, nullptr, nullptr, XML_PARSE_NOERROR), nullptr);
  EXPECT_NE(xmlGetLastError(), nullptr);
  EXPECT_EQ(OutstandingXmlAllocations(), before);
}

TEST(FailingXmlMemory, OnlyTheNthAllocationFailsAndThereAreNoneAfterItsEnd) {
  const long before = OutstandingXmlAllocations();
  std::array<void*, 3> blocks{};
  {
    const FailingXmlMemory failing(2, Failing::kOnlyTheNth);
    blocks[0] = xmlMalloc(1);
    EXPECT_FALSE(failing.Struck());
    blocks[1] = xmlMalloc(1);
    EXPECT_TRUE(failing.Struck());
    blocks[2] = xmlMemStrdup("text");
  }
  EXPECT_NE(blocks[0], nullptr);
  EXPECT_EQ(blocks[1], nullptr);
  EXPECT_NE(blocks[2], nullptr);
  for (void* block : blocks) xmlFree(block);
  EXPECT_EQ(OutstandingXmlAllocations(), before);
}

TEST(FailingXmlMemory, EveryAllocationFromTheNthFailsInThisThreadAlone) {
  const FailingXmlMemory failing(1, Failing::kAllFromTheNth);
  EXPECT_EQ(xmlMalloc(1), nullptr);
  EXPECT_EQ(xmlRealloc(nullptr, 1), nullptr);
  EXPECT_EQ(xmlMemStrdup("text"), nullptr);
  void* other = nullptr;
  std::thread([&other] { other = xmlMalloc(1); }).join();
  EXPECT_NE(other, nullptr);
  xmlFree(other);
}

TEST(XmlLeaks, UncountedDocumentIsNotCounted) {
  const long before = OutstandingXmlAllocations();
  const UncountedXml uncounted;
  xmlDoc* document = xmlNewDoc(nullptr);
  EXPECT_EQ(OutstandingXmlAllocations(), before);
  xmlFreeDoc(document);
  EXPECT_EQ(OutstandingXmlAllocations(), before);
}

}  // namespace
}  // namespace testsupport
