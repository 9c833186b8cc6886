// A C++ runtime that is put into the library asks the C library whether there is only one thread,
// which it can tell since version 2.32. This answer is always right, and older systems need no
// other.
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the C library's name
extern char __libc_single_threaded;
char __libc_single_threaded = 0;
// NOLINTEND(bugprone-reserved-identifier)
}
