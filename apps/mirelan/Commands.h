// The commands of the mirelan program; each takes the arguments after its name.
#pragma once

int RunDemo(int argc, char** argv);
