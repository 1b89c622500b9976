# cmake -D PROGRAM=... -D FOLDER=... -D DATA=... -P run_example.cmake: empties FOLDER, runs PROGRAM there with DATA
# as its argument, and fails when the program does.

file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER})
execute_process(COMMAND ${PROGRAM} ${DATA} WORKING_DIRECTORY ${FOLDER} COMMAND_ERROR_IS_FATAL ANY)
