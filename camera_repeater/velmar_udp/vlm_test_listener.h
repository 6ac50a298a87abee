// The bus listener of the console; the UDP service's host delivers to its callback, too.
#ifndef VLM_TEST_LISTENER_H
#define VLM_TEST_LISTENER_H

/// Starts the detached thread "TESTLMSG", which serves the reply channel until the process ends. When
/// there is no room for a thread it says so on standard error; replies are not heard then, and
/// commands time out.
void udp_start_receiving_messages();

/// The listener's callback, on its thread: hands camera replies to the request engine and prints
/// notifications. `buf` holds `len` bytes; packets of other channels and senders are reported and
/// ignored, null pointers ignored.
void TestGetLcmMsg(void* buf, unsigned int len, char* channel, void* user);

#endif  // VLM_TEST_LISTENER_H
