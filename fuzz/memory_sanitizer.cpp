// SPDX-License-Identifier: MIT
// Only in builds with clang's memory sanitizer: the C++ library itself is compiled without it, so
// that what its compiled functions write counts as unset. Of those that the product uses two write
// into memory of ours, the links of nodes of std::map, std::set and std::list. The linker puts the
// functions below in their places (--wrap, CMakeLists.txt).
#include <list>
#include <map>

#include <sanitizer/msan_interface.h>

namespace vantrel::fuzz {

using TreeNode = std::_Rb_tree_node_base;        // libstdc++, bits/stl_tree.h
using ListNode = std::__detail::_List_node_base; // libstdc++, bits/stl_list.h

void insertInTree(bool left, TreeNode* node, TreeNode* parent, TreeNode& header) noexcept
    __asm__("__real__ZSt29_Rb_tree_insert_and_rebalancebPSt18_Rb_tree_node_baseS0_RS_");
void insertInTreeAsSet(bool left, TreeNode* node, TreeNode* parent, TreeNode& header) noexcept
    __asm__("__wrap__ZSt29_Rb_tree_insert_and_rebalancebPSt18_Rb_tree_node_baseS0_RS_");
void insertInList(ListNode* node, ListNode* before) noexcept
    __asm__("__real__ZNSt8__detail15_List_node_base7_M_hookEPS0_");
void insertInListAsSet(ListNode* node, ListNode* before) noexcept
    __asm__("__wrap__ZNSt8__detail15_List_node_base7_M_hookEPS0_");

void insertInTreeAsSet(bool left, TreeNode* node, TreeNode* parent, TreeNode& header) noexcept {
    insertInTree(left, node, parent, header);
    __msan_unpoison(node, sizeof *node);
}

void insertInListAsSet(ListNode* node, ListNode* before) noexcept {
    insertInList(node, before);
    __msan_unpoison(node, sizeof *node);
}

} // namespace vantrel::fuzz
