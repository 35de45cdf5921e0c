// What the tool must never do: write over what it reads, replace what is no file, leave things after, lose an update.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <thread>

#include "support/external_tool.h"
#include "support/jpeg_maker.h"
#include "support/pdf_builder.h"

namespace {

const std::string kTool = SHEAF_TOOL;

namespace fs = std::filesystem;

// From here on this process and its children cannot open files without a name, as on a file system that has none.
bool refuse_unnamed_files() {
  constexpr std::uint32_t kUnnamed = O_TMPFILE & ~O_DIRECTORY;
  sock_filter filter[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args) + 2 * sizeof(std::uint64_t)),
      BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, kUnnamed, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EOPNOTSUPP),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program{sizeof(filter) / sizeof(filter[0]), filter};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

struct Harm : testing::Test {
  void SetUp() override {
    PdfBuilder builder;
    builder.pages(2).stream(6, "/Filter/FlateDecode", PdfBuilder::deflated("decoded data"));
    good = builder.classic().str();
    write_file(in, good);
    fs::create_directory(folder / "tmp");
  }
  RunResult sheaf(const std::string& arguments, const std::string& redirect = "2>&1") {
    return run_command("cd " + folder.str() + " && TMPDIR=" + (folder / "tmp") + " " + kTool + " " + arguments + " " +
                       redirect);
  }
  // Whether the system makes files without a name for the process.
  enum class Files { kUnnamed, kNamed };
  static constexpr int kNoFilter = 99;  // what a process ends with that could not be kept from them
  pid_t start(const std::string& arguments, Files kind) const {
    const std::string command = "exec " + kTool + " " + arguments;
    const pid_t child = fork();
    if (child != 0)
      return child;
    std::signal(SIGINT, SIG_DFL);  // which a shell ignores for what it starts in the background
    if (kind == Files::kNamed && !refuse_unnamed_files())
      _exit(kNoFilter);
    if (chdir(folder.str().c_str()) == 0 && setenv("TMPDIR", "tmp", 1) == 0 && std::freopen("/dev/null", "w", stdout) &&
        std::freopen("/dev/null", "w", stderr))
      execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
    _exit(9);
  }
  static bool contains(const RunResult& result, const std::string& text) {
    return result.output.find(text) != std::string::npos;
  }
  // What is in the folder, without the files that the test made itself.
  std::size_t files() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder.str()), fs::directory_iterator()));
  }

  TestFolder folder;
  std::string in = folder / "in.pdf";
  std::string out = folder / "out.pdf";
  std::string good;
};

TEST_F(Harm, NoCommandWritesOverWhatItReads) {
  const std::string jpeg = make_jpeg(std::string(64, 'x'), 8, 8, kGreyJpeg);
  const auto restore = [&] {
    write_file(in, good);
    write_file(folder / "v.jpg", jpeg);
    write_file(folder / "v.txt", "a text\n");
  };
  restore();
  fs::create_directory(folder / "images");
  fs::create_symlink("in.pdf", folder / "link.pdf");
  fs::create_hard_link(in, folder / "same.pdf");
  for (const char* arguments :
       {"stream in.pdf 6 -o in.pdf", "stream in.pdf 6 -o link.pdf", "stream in.pdf 6 -o same.pdf",
        "map in.pdf -o in.pdf", "rewrite in.pdf in.pdf", "rewrite link.pdf same.pdf", "repair in.pdf link.pdf",
        "merge in.pdf v.jpg in.pdf", "merge same.pdf in.pdf:1", "split in.pdf -o in.pdf --every 2",
        "update in.pdf -o in.pdf --set Title=x", "update in.pdf -o v.txt --attach v.txt", "new v.jpg --image v.jpg",
        "new v.txt --text v.txt", "new v.txt --attach v.txt",
        "update --password-file v.txt in.pdf -o v.txt --set Title=x"}) {
    restore();
    EXPECT_EQ(sheaf(arguments).code, 2) << arguments;
    EXPECT_EQ(read_file(in), good) << arguments;
    EXPECT_EQ(read_file(folder / "v.jpg"), jpeg) << arguments;
    EXPECT_EQ(read_file(folder / "v.txt"), "a text\n") << arguments;
  }
  EXPECT_EQ(sheaf("show in.pdf", ">> in.pdf").code, 2);
  EXPECT_EQ(read_file(in), good);
}

TEST_F(Harm, ImagesAreNotWrittenOverTheirDocument) {
  write_file(folder / "sample.jpg", make_jpeg(smooth_picture(8, 8, 1), 8, 8, kGreyJpeg));
  ASSERT_EQ(sheaf("new photo.pdf --image sample.jpg").code, 0);
  const std::string photo = read_file(folder / "photo.pdf");
  fs::create_directory(folder / "d");
  const RunResult list = sheaf("images photo.pdf -d d");
  ASSERT_EQ(list.code, 0);
  const std::string name = fs::directory_iterator(folder / "d")->path().string();
  fs::remove(name);
  fs::create_hard_link(folder / "photo.pdf", name);
  EXPECT_NE(sheaf("images photo.pdf -d d").code, 0);
  EXPECT_EQ(read_file(folder / "photo.pdf"), photo);
}

TEST_F(Harm, OnlyRegularFilesAreReplaced) {
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(run_command("cd " + folder.str() + " && (cat pipe > got & " + kTool + " rewrite in.pdf pipe; wait)").code,
            0);
  EXPECT_TRUE(fs::is_fifo(folder / "pipe"));
  EXPECT_EQ(sheaf("check got").code, 0);
  EXPECT_EQ(sheaf("rewrite in.pdf /dev/null").code, 0);
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
  EXPECT_EQ(sheaf("rewrite in.pdf /dev/full").code, 2);
  for (const char* command : {"rewrite --deterministic-id in.pdf ", "update in.pdf --set Title=x -o ", "new "}) {
    // Nothing but the document goes to standard output.
    EXPECT_EQ(sheaf(command + std::string("/dev/stdout"), "| cat > got").code, 0);
    EXPECT_EQ(sheaf("check got").code, 0) << command;
    EXPECT_EQ(read_file(folder / "got").substr(0, 5), "%PDF-");
  }
  fs::create_directory(folder / "d");
  const RunResult directory = sheaf("rewrite in.pdf d");
  EXPECT_EQ(directory.code, 2);
  EXPECT_TRUE(contains(directory, "d: is a directory")) << directory.output;
}

TEST_F(Harm, LinksAreFollowedAndOwnersKept) {
  fs::create_directory(folder / "d");
  write_file(folder / "d/real.pdf", "old");
  fs::permissions(folder / "d/real.pdf", fs::perms{0640});
  const bool is_root = getuid() == 0 && chown((folder / "d/real.pdf").c_str(), 12, 34) == 0;
  const bool has_attributes = setxattr((folder / "d/real.pdf").c_str(), "user.origin", "here", 4, 0) == 0;
  fs::create_symlink("d/real.pdf", folder / "link");
  fs::create_symlink("d/later.pdf", folder / "dangling");
  ASSERT_EQ(sheaf("rewrite in.pdf link").code, 0);
  ASSERT_EQ(sheaf("rewrite in.pdf dangling").code, 0);
  EXPECT_TRUE(fs::is_symlink(folder / "link") && fs::is_symlink(folder / "dangling"));
  EXPECT_EQ(sheaf("check d/real.pdf d/later.pdf").code, 0);
  struct stat info = {};
  ASSERT_EQ(stat((folder / "d/real.pdf").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777u, 0640u);
  EXPECT_TRUE(!is_root || (info.st_uid == 12 && info.st_gid == 34));
  char value[8] = "";
  EXPECT_TRUE(!has_attributes || getxattr((folder / "d/real.pdf").c_str(), "user.origin", value, sizeof(value)) == 4);
  EXPECT_EQ(files(), 5u);
}

TEST_F(Harm, ASignalLeavesNothingBehind) {
  ASSERT_EQ(mkfifo((folder / "text").c_str(), 0600), 0);
  const std::size_t before = files();
  for (const Files kind : {Files::kUnnamed, Files::kNamed}) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGKILL}) {
      if (kind == Files::kNamed && signal == SIGKILL)
        continue;  // nobody can take a name away then
      const pid_t child = start("new out.pdf --text text", kind);
      // It waits for the text when this open succeeds, with its output begun; the text never comes to an end.
      const int text = open((folder / "text").c_str(), O_WRONLY | O_CLOEXEC);
      ASSERT_GE(text, 0);
      kill(child, signal);
      int status = 0;
      ASSERT_EQ(waitpid(child, &status, 0), child);
      close(text);
      if (WIFEXITED(status) && WEXITSTATUS(status) == kNoFilter)
        GTEST_SKIP() << "the system lets nobody filter system calls, so that named files cannot be tried";
      EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
      EXPECT_EQ(files(), before);
      EXPECT_TRUE(fs::is_empty(folder / "tmp"));
    }
  }
}

TEST_F(Harm, WithoutUnnamedFilesOutputsAreTheSame) {
  ASSERT_EQ(sheaf("rewrite --deterministic-id in.pdf wanted.pdf").code, 0);
  write_file(out, "old");
  fs::permissions(out, fs::perms{0640});
  const std::size_t before = files();
  for (const char* name : {"out.pdf", "fresh.pdf"}) {
    int status = 0;
    waitpid(start(std::string("rewrite --deterministic-id in.pdf ") + name, Files::kNamed), &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == kNoFilter)
      GTEST_SKIP() << "the system lets nobody filter system calls, so that named files cannot be tried";
    EXPECT_EQ(status, 0);
    EXPECT_EQ(read_file(folder / name), read_file(folder / "wanted.pdf"));
  }
  int status = 0;
  waitpid(start("merge no/out.pdf in.pdf", Files::kNamed), &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 2);
  struct stat old = {};
  struct stat fresh = {};
  struct stat usual = {};
  ASSERT_TRUE(stat(out.c_str(), &old) == 0 && stat((folder / "fresh.pdf").c_str(), &fresh) == 0 &&
              stat((folder / "wanted.pdf").c_str(), &usual) == 0);
  EXPECT_EQ(old.st_mode & 07777u, 0640u);
  EXPECT_EQ(fresh.st_mode, usual.st_mode);
  EXPECT_EQ(files(), before + 1);
  EXPECT_TRUE(fs::is_empty(folder / "tmp"));
}

// The attachment is large enough for the signal to come while it is written.
TEST_F(Harm, ASignalInAnUpdateInPlaceLeavesTheOldFileOrTheNewOne) {
  constexpr off_t kLarge = 48 << 20;
  write_file(folder / "big", "x");
  ASSERT_EQ(truncate((folder / "big").c_str(), kLarge), 0);
  int cut_back = 0;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGKILL}) {
    write_file(in, good);
    const pid_t child = start("update in.pdf --in-place --attach big", Files::kUnnamed);
    struct stat info = {};
    int status = 0;
    while (stat(in.c_str(), &info) == 0 && info.st_size <= static_cast<off_t>(good.size()) &&
           waitpid(child, &status, WNOHANG) == 0) {
    }
    kill(child, signal);
    waitpid(child, &status, 0);
    const std::string left = read_file(in);
    EXPECT_EQ(left.substr(0, good.size()), good);
    if (signal == SIGKILL) {
      EXPECT_TRUE(contains(sheaf("info in.pdf"), "Pages          2"));
      continue;
    }
    cut_back += left == good ? 1 : 0;
    EXPECT_TRUE(left == good || left.size() > static_cast<std::size_t>(kLarge)) << left.size();
    EXPECT_EQ(sheaf("check in.pdf").code, 0);
  }
  EXPECT_TRUE(fs::is_empty(folder / "tmp"));
  write_file(in, good);
  const RunResult whole = sheaf("update in.pdf --in-place --attach big --progress always");
  EXPECT_TRUE(whole.code == 0 && contains(whole, " MiB written\n")) << whole.output;
  if (cut_back == 0)
    GTEST_SKIP() << "no signal came while the update was being written";
}

TEST_F(Harm, AccessListsOfAReplacedFileStay) {
  if (!has_program("setfacl"))
    GTEST_SKIP() << "needs setfacl";
  write_file(out, "old");
  fs::permissions(out, fs::perms{0640});
  const std::string list = "cd " + folder.str() + " && getfacl --omit-header --numeric out.pdf";
  if (run_command("setfacl -m u:12:rw,g:34:r " + out + " 2>&1").code != 0)
    GTEST_SKIP() << "the file system has no access lists";
  const std::string before = run_command(list).output;
  EXPECT_NE(before.find("user:12:rw-"), std::string::npos) << before;
  ASSERT_EQ(sheaf("rewrite in.pdf out.pdf").code, 0);
  EXPECT_EQ(run_command(list).output, before);
  EXPECT_EQ(sheaf("check out.pdf").code, 0);
}

TEST_F(Harm, AFileSizeLimitIsAFailureThatChangesNothing) {
  std::string noise;
  for (unsigned i = 0, x = 1; i < 200000; ++i, x = x * 1664525 + 1013904223)
    noise += static_cast<char>(x >> 24);
  write_file(folder / "big", noise);
  const std::size_t before = files();
  for (const char* arguments :
       {"update in.pdf --in-place --attach big", "update in.pdf -o out.pdf --attach big", "new out.pdf --attach big"}) {
    const RunResult result =
        run_command("cd " + folder.str() + " && ulimit -f 100 && TMPDIR=tmp " + kTool + " " + arguments + " 2>&1");
    EXPECT_EQ(result.code, 2) << arguments << result.output;
    EXPECT_EQ(read_file(in), good) << arguments;
    EXPECT_EQ(files(), before) << arguments;
    EXPECT_TRUE(fs::is_empty(folder / "tmp")) << arguments;
  }
}

TEST_F(Harm, UpdatesInPlaceFollowOneAnother) {
  std::string all = "cd " + folder.str() + " && for i in 1 2 3 4 5 6 7 8; do ";
  all += "head -c 3000$i /dev/urandom > a$i; " + kTool + " update in.pdf --in-place --attach a$i & done; wait";
  run_command(all);
  EXPECT_EQ(sheaf("check in.pdf").code, 0);
  if (has_program("qpdf")) {
    for (const char* name : {"a1", "a2", "a3", "a4", "a5", "a6", "a7", "a8"}) {
      const std::string show = "cd " + folder.str() + " && qpdf in.pdf --show-attachment=" + name + " | cmp - " + name;
      EXPECT_EQ(run_command(show + " 2>&1").code, 0) << name;
    }
  }
  const std::string before = read_file(in);
  const int handle = open(in.c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_EQ(flock(handle, LOCK_EX), 0);
  const RunResult refused = sheaf("update in.pdf --in-place --no-wait --set Title=x");
  close(handle);
  EXPECT_EQ(refused.code, 2);
  EXPECT_TRUE(contains(refused, "is being changed by another process")) << refused.output;
  EXPECT_EQ(read_file(in), before);
}

TEST_F(Harm, AnInPlaceUpdateOpensTheFileThatIsThereAfterTheWait) {
  const int handle = open(in.c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_EQ(flock(handle, LOCK_EX), 0);
  std::thread waiting([this] { EXPECT_EQ(sheaf("update in.pdf --in-place --set Title=Second").code, 0); });
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  PdfBuilder other;
  write_file(folder / "new.pdf", other.pages(3).classic().str());
  fs::rename(folder / "new.pdf", in);
  close(handle);
  waiting.join();
  const RunResult info = sheaf("info in.pdf");
  EXPECT_TRUE(contains(info, "Second") && contains(info, "Pages          3")) << info.output;
}

TEST_F(Harm, OutputThatDoesNotArriveIsAFailure) {
  for (const char* arguments :
       {"info in.pdf", "info --json in.pdf", "show in.pdf 2", "stream in.pdf 6", "pages in.pdf", "fonts in.pdf",
        "images in.pdf", "annots --json in.pdf", "fields --json in.pdf", "map in.pdf", "check in.pdf", "pdfa in.pdf",
        "rewrite in.pdf out.pdf", "rewrite in.pdf /dev/stdout", "new out.pdf", "--help", "info --help", "--version"}) {
    EXPECT_EQ(sheaf(arguments, "> /dev/full 2> errors").code, 2) << arguments;
    EXPECT_EQ(read_file(folder / "errors").substr(0, 7), "sheaf: ") << arguments;
    EXPECT_EQ(sheaf(arguments, "2>&1 >&-").code, 2) << arguments;
    // The reader is gone before the tool begins.
    run_command("cd " + folder.str() + " && (sleep 0.05; " + kTool + " " + arguments +
                " 2> errors; echo $? > code) | true");
    EXPECT_EQ(read_file(folder / "code"), "2\n") << arguments;
  }
  // Standard output is closed, so the document must not take its place.
  EXPECT_EQ(sheaf("update in.pdf --in-place --set Title=x", "2> /dev/null >&-").code, 2);
  EXPECT_EQ(read_file(in).substr(0, good.size()), good);
  EXPECT_EQ(sheaf("check in.pdf").code, 0);
}

}  // namespace
