# Warm boot script of the demo installation's engine (bin/eng).
# The engine resumes from the database it saved and then runs these lines;
# "say TEXT" writes TEXT to the engine's output.
say warm boot: the saved world is resumed
