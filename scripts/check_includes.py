#!/usr/bin/env python3
"""Holds the floors of the house: every include runs down.

The table of docs/architecture.md says which rooms there are and what each of them sees. This reads all includes of
the sources that git knows and names, with file, line and rule, those that

- lead to a room which the including room does not see,
- close a circle between folders, so that one of them would have to stand above the other and below it, or
- close a circle between files.

Includes of the system and of other libraries do not count. Run it in the root of the checkout.
"""
import os
import re
import subprocess
import sys

TABLE_FILE = "docs/architecture.md"
DOOR = "include/ktmp4/"


def read_rooms():
    """Room -> the rooms that it sees, None for all, from the rows `| floor | where | holds | sees |`."""
    floors, words = {}, {}
    with open(TABLE_FILE, encoding="utf-8") as text:
        for line in text:
            cells = [cell.strip() for cell in line.strip().strip("|").split("|")]
            if not line.startswith("|") or len(cells) != 4 or not re.search(r"`[\w/]+/`", cells[1]):
                continue
            for room in re.findall(r"`([\w/]+/)`", cells[1]):
                floors[room], words[room] = cells[0], cells[3]
    if DOOR not in floors:
        sys.exit(f"{TABLE_FILE}: the table of rooms is not there")
    return {room: sees_of(words[room], floors) for room in floors}


def sees_of(words, floors):
    if words == "all":
        return None
    seen = set(re.findall(r"`([\w/]+/)`", words))
    if "the door" in words:
        seen.add(DOOR)
    for first, last in re.findall(r"\bfloors? (\d+)(?: to (\d+))?", words):
        wanted = {str(floor) for floor in range(int(first), int(last or first) + 1)}
        seen |= {room for room, floor in floors.items() if floor in wanted}
    return seen


def room_of(path, rooms):
    return max((room for room in rooms if path.startswith(room)), key=len, default=None)


def includes_of(sources):
    """(file, line number, included file) of every include that leads to one of the sources."""
    for path in sorted(sources):
        with open(path, encoding="utf-8") as text:
            for number, line in enumerate(text, 1):
                match = re.match(r'\s*#\s*include\s*[<"]([^>"]+)[>"]', line)
                if not match:
                    continue
                places = (os.path.join(os.path.dirname(path), match[1]), match[1], "include/" + match[1], "tests/" + match[1])
                found = next((place for place in map(os.path.normpath, places) if place in sources), None)
                if found and found != path:
                    yield path, number, found


def circles(edges):
    """Each circle once, as the list of (from, to) along it; `edges` maps a node to the nodes that it leads to."""
    done, path = set(), []

    def visit(node):
        if node in path:
            around = path[path.index(node):] + [node]
            yield list(zip(around, around[1:]))
        elif node not in done:
            path.append(node)
            for successor in sorted(edges.get(node, ())):
                yield from visit(successor)
            path.pop()
            done.add(node)

    for start in sorted(edges):
        yield from visit(start)


def main():
    rooms = read_rooms()
    listed = subprocess.run(["git", "ls-files", "*.h", "*.cpp", "*.c"], capture_output=True, text=True, check=True)
    sources = {path for path in listed.stdout.split() if os.path.exists(path)}
    faults, files, folders, places = [], {}, {}, {}
    for path, number, target in includes_of(sources):
        place = f"{path}:{number}: includes {target}"
        room, seen_room = room_of(path, rooms), room_of(target, rooms)
        if room is None or seen_room is None:
            faults.append(f"{place}: a folder without a row in the table of {TABLE_FILE}")
        elif room != seen_room and rooms[room] is not None and seen_room not in rooms[room]:
            faults.append(f"{place}: {room} does not see {seen_room}")
        files.setdefault(path, set()).add(target)
        places[path, target] = place
        folder, target_folder = os.path.dirname(path), os.path.dirname(target)
        if folder != target_folder:
            folders.setdefault(folder, set()).add(target_folder)
            places.setdefault((folder, target_folder), place)
    for kind, edges in (("folders", folders), ("files", files)):
        for circle in circles(edges):
            faults.append(f"a circle of {kind}:\n" + "\n".join(f"  {places[edge]}" for edge in circle))
    print("\n".join(faults) or f"{len(places)} includes run down")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
