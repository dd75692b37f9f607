// Locks files against other processes, waiting or not.

#include "Common/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "Common/Fatal.h"
#include "Common/Logtrace.h"

namespace tarvio {

namespace {

int s_open(const char* function, const char* path) {
  const int fd = ::open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0777);
  if (fd < 0) s_fatal(function, __LINE__, "file = %s,can't open mutex file\n", path);
  return fd;
}

/// 1 with the lock held and the descriptor in *fd; 0, and -1 in *fd, without it.
int s_lock(int descriptor, int operation, int* fd) {
  const bool held = ::flock(descriptor, operation) == 0;
  if (!held) ::close(descriptor);
  *fd = held ? descriptor : -1;
  return held ? 1 : 0;
}

}  // namespace

int filesync_lock(const char* path, int* fd) {
  if (s_lock(s_open(__func__, path), LOCK_EX, fd) != 0) return 1;
  Logtrace::m_logPrint("[%s,%d]:file = %s,can't open mutex file\n", __func__, __LINE__, path);
  return 0;
}

int filesync_lock_nosync(const char* path, int* fd) {
  if (s_lock(s_open(__func__, path), LOCK_EX | LOCK_NB, fd) != 0) return 1;
  Logtrace::m_logPrint("[%s,%d]:file = %s,can't  mutex file\n", __func__, __LINE__, path);
  return 0;
}

void filesync_unlock(int fd) {
  if (fd < 0) return;
  ::flock(fd, LOCK_UN);
  ::close(fd);
}

}  // namespace tarvio
