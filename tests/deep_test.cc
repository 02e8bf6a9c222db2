// Data nested far deeper than any file may be: building, walking and destroying cost no stack.
#include <gtest/gtest.h>

#include <string>

#include "HalconCpp.h"
#include "adapter/dispatcher.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "support/files.h"
#include "support/host.h"
#include "support/objects.h"
#include "support/small_stack.h"
#include "support/values.h"
#include "tree/dict_builder.h"
#include "tree/node.h"
#include "tree/work.h"

namespace {

using namespace test;

TEST(Deep, TheBuilderNeedsNoStackPerLevel) {
  on_small_stack([] {
    constexpr int depth = 100000;
    quovel::Tree tree;
    {
      const HTuple dict = nested_dicts(depth);
      tree.root = &tree.make_node();
      quovel::WorkList list;
      quovel::build_dict_node(tree, *tree.root, HalconCpp::HDict(dict[0].H()), list);
      quovel::build_pending(tree, list);
    }
    int levels = 0;
    for (const quovel::Node* node = tree.root; node->child_count() > 0; node = node->children())
      if (node->kind == quovel::NodeKind::Dict) ++levels;
    EXPECT_EQ(levels, depth - 1);
  });
}

TEST(Deep, TheDeepestFileOpensAndTheNextIsRejected) {
  const TempDir folder;
  for (const int depth : {1024, 1025}) {
    std::string json;
    for (int i = 0; i < depth; ++i) json += i % 2 ? "[" : "{\"k\":";
    json += "1";
    for (int i = depth; i-- > 0;) json += i % 2 ? "]" : "}";
    write(folder / "deep.json", json);
    on_small_stack([&] {
      const Reader reader;
      const qv_node* root = reader.dict(folder / "deep.json");
      EXPECT_EQ(root != nullptr, depth == 1024) << reader.error();
      EXPECT_EQ(dump(root).empty(), false);
    });
  }
}

TEST(Deep, TheDeepestContainerOpens) {
  const TempDir folder;
  save_dict(nested_dicts(1024), folder / "deep.hdict");
  on_small_stack([&] {
    const Reader reader;
    const qv_node* root = reader.dict(folder / "deep.hdict");
    ASSERT_TRUE(root) << reader.error();
    EXPECT_FALSE(dump(root).empty());
    const std::u16string from = wide(folder / "deep.hdict"), to = wide(folder / "deep.json");
    EXPECT_EQ(qv_reader_convert_dict_file(reader, units(from), units(to), 0), 0);  // JSON counts tuples as levels too
    EXPECT_EQ(qv_reader_convert_dict_file(reader, units(from), units(from), 0), 1) << reader.error();
  });
}

}  // namespace
