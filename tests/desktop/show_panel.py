"""Opens the panel, waits until it shows the tools, saves a picture of it and quits it again:

    session show_panel.py IMAGE ROOT [LAUNCHER-ARGUMENT...]
"""

import sys

from launcher_driver import Launcher, take_picture


def main(image, root, *arguments):
    launcher = Launcher(*arguments, root=root)
    try:
        tools = launcher.wait_for_catalogue()
        take_picture(image, launcher.window())
        launcher.press("ctrl+q")
        status = launcher.wait_for_exit(limit=10)
        if status != 0:
            raise AssertionError(f"the Launcher ended with status {status}")
    except Exception as problem:
        print(f"dev: the panel could not be shown: {problem}", launcher.standard_error(), sep="\n",
              file=sys.stderr)
        return 1
    finally:
        launcher.end()
    print(f"Showed {tools}; the picture is {image}")
    return 0


sys.exit(main(*sys.argv[1:]))
