#include "tests/database/postgres_server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <libpq-fe.h>
#include <netinet/in.h>
#include <pwd.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <system_error>
#include <thread>
#include <vector>

#include "base/text.h"

namespace ohmwise::testing {
namespace {

namespace fs = std::filesystem;

// Debian keeps the server's programs out of the search path.
fs::path ServerPrograms() {
  FILE* answer = popen("pg_config --bindir 2>/dev/null", "r");
  if (!answer) return {};
  std::array<char, 4096> line{};
  const bool read = fgets(line.data(), static_cast<int>(line.size()), answer) != nullptr;
  pclose(answer);
  fs::path folder = read ? std::string(line.data(), strcspn(line.data(), "\n")) : std::string();
  return fs::exists(folder / "initdb") ? folder : fs::path();
}

// The server refuses to run as root.
const passwd* ServerUser() { return geteuid() == 0 ? getpwnam("nobody") : nullptr; }

pid_t Launch(const std::vector<std::string>& command, const fs::path& folder) {
  std::vector<char*> arguments;
  for (const std::string& part : command) arguments.push_back(const_cast<char*>(part.c_str()));
  arguments.push_back(nullptr);
  const passwd* user = ServerUser();
  const std::string log = (folder / "log").string();
  const pid_t parent = getpid();
  const pid_t process = fork();
  if (process != 0) return process;
  if (user && (setgid(user->pw_gid) != 0 || setuid(user->pw_uid) != 0)) _exit(126);
  prctl(PR_SET_PDEATHSIG, SIGINT);
  if (getppid() != parent) _exit(126);
  const int out = open(log.c_str(), O_CREAT | O_APPEND | O_WRONLY, 0600);
  dup2(out, 1);
  dup2(out, 2);
  if (chdir(folder.c_str()) != 0) _exit(126);
  execv(arguments[0], arguments.data());
  _exit(127);
}

int FreePort() {
  const int s = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  bind(s, reinterpret_cast<sockaddr*>(&address), size);
  getsockname(s, reinterpret_cast<sockaddr*>(&address), &size);
  close(s);
  return ntohs(address.sin_port);
}

}  // namespace

PostgresServer::PostgresServer(Durability durability) : durability_(durability) {
  const fs::path programs = ServerPrograms();
  if (programs.empty()) {
    failure_ = "no PostgreSQL server is installed";
    return;
  }
  std::string pattern = (fs::temp_directory_path() / "ohmwise-postgres-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) {
    failure_ = "no temporary folder can be made";
    return;
  }
  folder_ = pattern;
  if (const passwd* user = ServerUser()) {
    if (chown(folder_.c_str(), user->pw_uid, user->pw_gid) != 0) failure_ = "chown failed";
  }
  const pid_t process =
      Launch({(programs / "initdb").string(), "-D", (folder_ / "data").string(), "-U", "ohmwise",
              "-A", "trust", "-E", "UTF8", "--locale=C.UTF-8", "--no-sync"},
             folder_);
  int status = 0;
  waitpid(process, &status, 0);
  for (int attempt = 0; status == 0 && attempt < 3; ++attempt) {
    if (Start(programs)) return;
  }
  std::ifstream log(folder_ / "log");
  failure_ = "the PostgreSQL server does not start: " +
             std::string(std::istreambuf_iterator<char>(log), {});
}

bool PostgresServer::Start(const fs::path& programs) {
  port_ = FreePort();
  process_ = Launch({(programs / "postgres").string(), "-D", (folder_ / "data").string(), "-F",
                     "-c", "listen_addresses=127.0.0.1", "-c", "port=" + std::to_string(port_),
                     "-c", "unix_socket_directories=", "-c", "max_connections=60"},
                    folder_);
  const std::string url = "postgresql://ohmwise@127.0.0.1:" + std::to_string(port_) + "/postgres";
  for (int i = 0; i < 300; ++i) {
    if (waitpid(process_, nullptr, WNOHANG) != 0) break;  // its port was taken meanwhile
    if (PQping(url.c_str()) == PQPING_OK) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  process_ = -1;
  return false;
}

PostgresServer::~PostgresServer() {
  if (process_ > 0) {
    kill(process_, SIGINT);
    waitpid(process_, nullptr, 0);
  }
  std::error_code ignored;
  if (!folder_.empty()) fs::remove_all(folder_, ignored);
}

std::u16string PostgresServer::MakeDatabase() {
  const std::string server = "postgresql://ohmwise@127.0.0.1:" + std::to_string(port_) + "/";
  const std::string name = "db" + std::to_string(++databases_);
  PGconn* connection = PQconnectdb((server + "postgres").c_str());
  PQclear(PQexec(connection, ("CREATE DATABASE " + name).c_str()));
  PQfinish(connection);
  return FromUtf8(server + name);
}

}  // namespace ohmwise::testing
