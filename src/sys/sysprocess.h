#pragma once

/// To be called first in main, before anything opens a file or starts a thread. Sees to it that
/// standard input, output and error are open (closed ones would be given to the next files, and
/// what is printed would land in them), and that a write to a closed pipe or beyond a limit of file
/// sizes fails like any other write instead of ending the process.
void SYS_PrepareProcess();
