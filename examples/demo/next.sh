# The end of the story.

talvera nvram remove

# == Where to go next
# examples/first_boot.sh is the script that was told here. `talvera --help` and `man talvera` have the rest of
# the command, and `make board` starts a gateway on your desk, on which you type at it: an emulated big-endian
# board with its own kernel and flash. In C, README.md has the families, include/talvera/ their
# reference, and `make examples` runs the programs of examples/. docs/porting.md says what a product supplies.
