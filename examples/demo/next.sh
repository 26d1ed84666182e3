# The last chapter.

talvera nvram remove

# == Where to go next
# You have seen examples/first_boot.sh. `talvera --help` and `man talvera` describe the rest of the command, and
# `make board` starts a gateway on your desk with an interactive shell: an emulated big-endian board with its
# own kernel and flash. For C programs, README.md lists the families, include/talvera/ is their reference, and
# `make examples` runs the programs of examples/. docs/porting.md describes what a product supplies.
