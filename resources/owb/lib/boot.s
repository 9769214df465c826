# Cold boot script of the demo installation's engine (bin/eng).
# The engine starts from an empty database and then runs these lines;
# "say TEXT" writes TEXT to the engine's output.
say cold boot: a fresh world is made
say the engine place is ready
