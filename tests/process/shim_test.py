"""Build tools started through links to the program that stand before them on the PATH."""
import os
import shutil

import builds

TELL = 'echo "$0 $QUORVEL_BUILD_SLOT $*"'


class Shim(builds.World):
    def setUp(self):
        super().setUp()
        for folder in ("links", "more", "flat", "mine", "proxies"):
            os.mkdir(f"{self.root}/{folder}")
        os.symlink(builds.QV, self.root + "/links/cargo")
        shutil.copy(builds.QV, self.root + "/more/cargo")
        open(self.root + "/flat/cargo", "w").close()
        self.write_script("mine/cargo", f"#!/bin/sh\nexec {self.root}/links/cargo \"$@\"\n")
        self.write_script("proxies/manager", f"#!/bin/sh\n{TELL}\n")
        os.symlink("manager", self.root + "/proxies/cargo")
        self.write_script("repo/cargo", f"#!/bin/sh\n{TELL}\n")

    def write_script(self, name, text):
        with open(f"{self.root}/{name}", "w") as script:
            script.write(text)
        os.chmod(f"{self.root}/{name}", 0o755)

    def run_cargo(self, folders, word="build", **variables):
        """Types `cargo WORD` with nothing but these folders of the world on the PATH."""
        path = ":".join(folder if folder in ("", "../bin") else f"{self.root}/{folder}"
                        for folder in folders.split(":"))
        build = builds.Build(self, ["cargo", word], cwd=self.repo,
                             env={"HOME": self.home, "PATH": path, "FAKE": TELL,
                                  "QUORVEL_BUILD_MEMORY_OFF": "1", **variables})
        self.builds.append(build)
        status = build.status()
        return status, (build.out + build.err).decode().replace(self.root + "/", "")

    def test_the_next_program_of_that_name_is_the_tool(self):
        circle = "quorvel: the programs named cargo on the PATH only start one another\n"
        rows = [  # folders on the PATH, status, output
            ("links:bin", 0, "bin/cargo 1 build\n"),
            ("links:links:flat:bin:proxies", 0, "bin/cargo 1 build\n"),
            ("links:more:links:more:bin", 0, "bin/cargo 1 build\n"),
            ("mine:links:bin", 0, "bin/cargo 1 build\n"),
            ("links:proxies:bin", 0, "proxies/cargo 1 build\n"),
            ("links::bin", 0, "./cargo 1 build\n"),
            ("links:../bin", 0, "../bin/cargo 1 build\n"),
            ("links:flat", 126, "flat/cargo: Permission denied\n"),
            ("links", 127, "cargo: command not found\n"),
            ("links:mine:bin", 126, circle),
            ("links:more", 126, circle),
        ]
        for folders, status, output in rows:
            with self.subTest(folders=folders):
                self.assertEqual(self.run_cargo(folders), (status, output))

    def test_what_is_no_build_is_left_alone(self):
        shutil.rmtree(self.ledger)
        self.assertEqual(self.run_cargo("links:bin", "fmt"), (0, "bin/cargo  fmt\n"))
        self.assertEqual(self.run_cargo("links:bin", QUORVEL_BUILD_SLOT_OFF="1"),
                         (0, "bin/cargo  build\n"))
        self.assertFalse(os.path.exists(self.ledger))


if __name__ == "__main__":
    builds.main()
