#pragma once

/// To be called first in main, before anything opens a file or starts a thread. Opens standard
/// input, output and error where they are closed (otherwise the next files get their numbers, and
/// output lands in them). Makes a write to a closed pipe, or beyond the limit of file sizes, fail
/// like any other write instead of ending the process.
void SYS_PrepareProcess();
