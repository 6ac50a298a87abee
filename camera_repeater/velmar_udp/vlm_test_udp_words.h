// The word commands of the UDP test client: how each becomes a request, and how its answer reads.
// One row of the table in vlm_test_udp_words.cpp tells all of a word.
#ifndef VLM_TEST_UDP_WORDS_H
#define VLM_TEST_UDP_WORDS_H

#include <cstddef>

#include "vlm_udp_camctrl_defines.h"

/// Prints "Invalid use." and the list of word commands.
void print_test_udp_invalid_use();

/// Prints what a query's reply says, by the reply's own command; nothing for other commands, and
/// nothing when fewer than its bytes are among the `available` data bytes.
void print_test_udp_answer(const camctrl_msg_t& reply, std::size_t available);

#endif  // VLM_TEST_UDP_WORDS_H
