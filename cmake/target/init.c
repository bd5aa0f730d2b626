/* The first and only process of the kernel that build_kernel.sh makes: mounts what run_in_kernel shares,
   runs the one command that stands in /job/cmd, leaves its exit status in /job/exit and turns off. */
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <net/if.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/reboot.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

static void Mount(const char* source, const char* type, const char* folder, const char* options) {
  char path[4096];
  snprintf(path, sizeof path, "%s", folder);
  for (char* slash = path + 1; (slash = strchr(slash, '/')) != NULL; *slash++ = '/') {
    *slash = 0;
    mkdir(path, 0755);
  }
  mkdir(path, 0755);
  if (mount(source, folder, type, 0, options) != 0) printf("mount %s: %s\n", folder, strerror(errno));
}

static void BringUpLoopback(void) {
  struct ifreq request = {.ifr_name = "lo"};
  const int fd = socket(AF_INET, SOCK_DGRAM, 0);
  ioctl(fd, SIOCGIFFLAGS, &request);
  request.ifr_flags |= IFF_UP;
  if (ioctl(fd, SIOCSIFFLAGS, &request) != 0) perror("lo");
  close(fd);
}

/* /job/cmd: the folder to mount at its own path, the current folder, NAME=VALUE ..., --, the program and
   its arguments; each ends with a zero. */
static char text[65536];
static char* arguments[512];
static char* variables[512];

static pid_t Start(const char* options) {
  FILE* file = fopen("/job/cmd", "r");
  const size_t size = file != NULL ? fread(text, 1, sizeof text - 1, file) : 0;
  const char* shared = text;
  const char* folder = shared + strlen(shared) + 1;
  Mount("work9", "9p", shared, options);
  if (chdir(folder) != 0) perror(folder);
  char** next = variables;
  int inVariables = 1;
  for (char* word = (char*)folder + strlen(folder) + 1; word < text + size; word += strlen(word) + 1) {
    if (inVariables && strcmp(word, "--") == 0) {
      inVariables = 0;
      next = arguments;
    } else {
      *next++ = word;
    }
  }
  const pid_t pid = fork();
  if (pid == 0) {
    const int out = open("/job/out", O_WRONLY | O_CREAT | O_APPEND, 0644);
    dup2(out, 1);
    dup2(out, 2);
    setsid();
    execve(arguments[0], arguments, variables);
    perror(arguments[0]);
    _exit(127);
  }
  return pid;
}

int main(void) {
  const char* options = "trans=virtio,version=9p2000.L,cache=loose,msize=131072";
  Mount("proc", "proc", "/proc", "");
  Mount("sys", "sysfs", "/sys", "");
  Mount("dev", "devtmpfs", "/dev", "");
  Mount("tmp", "tmpfs", "/tmp", "");
  Mount("vartmp", "tmpfs", "/var/tmp", "");
  Mount("shm", "tmpfs", "/dev/shm", "");
  Mount("mq", "mqueue", "/dev/mqueue", "");
  Mount("sys9", "9p", "/sysroot", options);
  Mount("job9", "9p", "/job", options);
  if (symlink("/sysroot/lib", "/lib") != 0) perror("lib");
  BringUpLoopback();
  const pid_t pid = Start(options);
  int status = 0;
  while (wait(&status) != pid) {
  }
  FILE* file = fopen("/job/exit", "w");
  if (file != NULL) {
    fprintf(file, "%d\n", WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
    fclose(file);
  }
  sync();
  reboot(RB_POWER_OFF);
}
