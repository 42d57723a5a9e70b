// Not a test of its own: a program with one test that keeps a libxml2 document, run by xml_leaks_test.cpp to see the
// common main fail it.
#include <gtest/gtest.h>
#include <libxml/tree.h>

#include <memory>

namespace {

struct FreeDocument {
  void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};

// Freed at exit, so that no other leak checker speaks up first.
std::unique_ptr<xmlDoc, FreeDocument> g_kept;

TEST(LeakyProbe, KeepsADocument) {
  g_kept.reset(xmlNewDoc(nullptr));
}

TEST(LeakyProbe, KeepsNothing) {
  xmlFreeDoc(xmlNewDoc(nullptr));
}

}  // namespace
