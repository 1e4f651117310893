// Standard output that somebody closed, or that is full, fails a command like any other file.
#pragma once

// Call first. A closed descriptor 0, 1 or 2 is otherwise given to the next file that is opened, which
// then gets what is printed.
void occupyStandardStreams();

// The exit status after all that was printed: `status`, or a failure, told on standard error, where
// standard output did not take it.
int statusAfterOutput(int status);
