"""Storms the event service of a running camera; scripts/storm --events.

usage: event_storm.py PART=NUMBER... [SEED]   the environment is that of the other files here

  truths=ACTIONS    rules of two engines change at random presets while the camera moves, tours, loses presets, reboots and its
                    processes are killed: for every subscriber each state is told in a legal order and none stays true
  order=MESSAGES    20 subscribers have so many events of the bus in their order, and what one lost is what the log tells
  lives=NUMBER      subscriptions are created, renewed, ended, left to expire and abandoned: memory and descriptors stay
  stops=ROUNDS      a subscriber, the pipeline or the services are stopped by a signal: all others go on

Each part prints its result as a line of name=value; exit code 1: the camera did something else.
"""
import random
import sys

from event_lives import Lives
from event_order import Stops, order
from event_truths import Truths
from soap import Failed, NoAnswer, Refused

PARTS = {
    "truths": lambda number, dice: Truths(number, dice).run(),
    "order": order,
    "lives": lambda number, dice: Lives(number, dice).run(),
    "stops": lambda number, dice: Stops(number, dice).run(),
}


def main():
    wanted = dict(word.split("=") for word in sys.argv[1:] if "=" in word)
    seed = next((int(word) for word in sys.argv[1:] if "=" not in word), None) or random.SystemRandom().randrange(1, 1 << 31)
    print(f"seed={seed}", flush=True)
    for part, number in wanted.items():
        try:
            result = PARTS[part](int(number), random.Random(seed))
        except (AssertionError, Refused, Failed, NoAnswer) as error:
            print(f"seed {seed}, {part}={number}: {error}", file=sys.stderr)
            sys.exit(1)
        print(f"part={part} " + " ".join(f"{name}={value}" for name, value in result.items()), flush=True)


if __name__ == "__main__":
    main()
