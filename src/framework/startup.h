// Start-up of the base services for a program.
#pragma once

// Initialises the base services (tracing, the registry file) for the program
// `component`. The argument count and vector are passed by address as the
// services may consume arguments of their own; none are consumed today.
// Answers 0.
int BSS1_Main(int* argc, char*** argv, const char* component);

// Puts "NAME=value" into the environment of this process and its children.
// Answers 0, or -1 when the text has no "=" or the name is empty.
int BSS1_PutEnv(const char* assignment);

// The component name given to BSS1_Main ("" before it).
[[nodiscard]] const char* BSS1_Component();
