// Over SSH a transfer that the host has ended still waits for the server: libgit2 (before 1.9)
// begins again with a server that does not answer, and at its end libssh2 waits until the server
// has closed its side too. A server that hangs never does.
//
// Here the first is not begun again, and the connection is cut before the second. libssh2 is called
// with the functions that libgit2 calls; no header of it is needed for that.

#include <sys/socket.h>

#include "next.h"
#include "progress.h"

extern "C" {
int libssh2_session_handshake(void* session, int socket);
int libssh2_channel_close(void* channel);
}

namespace {

thread_local int connection = -1;  // of the latest session

}  // namespace

EXPORT int libssh2_session_handshake(void* session, int socket) {
  constexpr int failed_to_receive = -43;
  connection = socket;
  const int code = NEXT(libssh2_session_handshake)(session, socket);
  return code < 0 && go_on() != 0 ? failed_to_receive : code;
}

EXPORT int libssh2_channel_close(void* channel) {
  if (tell()) shutdown(connection, SHUT_RDWR);
  return NEXT(libssh2_channel_close)(channel);
}
