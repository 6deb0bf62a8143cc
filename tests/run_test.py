"""./run itself: what it reports of foreign changes, its answers, and sandboxes that it refuses.

    run_test.py BUILD_FOLDER
"""
import os
import subprocess
import sys
import tempfile
import unittest

BUILD = os.path.abspath(sys.argv.pop())
ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
TEXTWERK = "drives/C/Programme/Textwerk/"
KEY = "[HKEY_LOCAL_MACHINE\\Software\\Classes\\"

FOREIGN = r"""FOREIGN, removed
  C:\Programme\Kalendorin                                       2 files, 1 folder
  HKLM\Software\Classes\.twk                                    1 key, 1 value
  HKLM\Software\Classes\Textwerk.Dokument\DefaultIcon
    (Default): "shell32.dll,0"

FOREIGN, changed
  C:\Programme\Textwerk\Symbole\shell32.dll                     3072 bytes, H -> 3072 bytes
  C:\Programme\Textwerk\Textwerk.exe                            6144 bytes -> 3 bytes
  HKLM\Software\Classes\Textwerk.Dokument\Shell
    (Default): "Tessorin" -> 7

FOREIGN, added
  C:\Programme\Textwerk\neu                                     1 file, 1 folder
  HKLM\Software\Classes\.neu                                    2 keys, 1 value
  HKLM\Software\Classes\Textwerk.Dokument\Shell
    Neu: hex:01,02

"""


class Run(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.sandbox = os.path.join(folder.name, "sandbox")
        subprocess.run([f"{BUILD}/sandbox", "stage", self.sandbox, f"{ROOT}/tests/stage",
                        f"{BUILD}/UnInstall"], check=True)

    def path(self, name):
        return os.path.join(self.sandbox, name)

    def change(self, name, old, new):
        """Gives the number of the line."""
        with open(self.path(name), encoding="utf-8") as file:
            text = file.read()
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(text.replace(old, new, 1))
        return text.count("\n", 0, text.index(old)) + 1

    def start(self, *options, stdin=subprocess.DEVNULL):
        return subprocess.Popen([f"{ROOT}/run", "--sandbox", self.sandbox, *options], text=True,
                                env={**os.environ, "UNINSTALL_BUILD": BUILD},
                                stdin=stdin, stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def test_names_every_kind_of_foreign_change(self):
        self.change("machine.ini", "[user]", "[faults]\nfirst MessageBoxA 1 *=stop\n\n[user]")
        os.mkfifo(self.path("stopped"))
        os.mkfifo(self.path("go"))
        run = self.start()
        with open(self.path("stopped"), encoding="utf-8") as stopped:
            stopped.readline()
        # Meanwhile somebody else is at work.
        subprocess.run(["rm", "-r", self.path("drives/C/Programme/Kalendorin")], check=True)
        os.mkdir(self.path(TEXTWERK + "neu"))
        for name in "neu/neu.txt", "Textwerk.exe":
            with open(self.path(TEXTWERK + name), "w", encoding="utf-8") as file:
                file.write("neu")
        self.change("attributes.txt", "H C:\\Programme\\Textwerk\\Symbole\\shell32.dll\n", "")
        self.change("registry.reg", KEY + '.twk]\n@="Textwerk.Dokument"\n', "")
        self.change("registry.reg", 'Dokument\\DefaultIcon]\n@="shell32.dll,0"', "Dokument\\DefaultIcon]")
        self.change("registry.reg", 'Dokument\\Shell]\n@="Tessorin"',
                    'Dokument\\Shell]\n@=dword:7\n"Neu"=hex:01,02\n' + KEY + ".neu\\Shell]\n@=\"\"")
        with open(self.path("go"), "w", encoding="utf-8") as go:
            go.write("go\n")
        output, errors = run.communicate()
        self.assertEqual((run.returncode, errors), (1, ""))
        self.assertEqual(output[output.index("FOREIGN"):], FOREIGN)

    def test_tells_a_run_without_foreign_changes(self):
        run = self.start()
        output, errors = run.communicate()
        self.assertEqual((run.returncode, errors), (0, ""))
        self.assertTrue(output.endswith("\nNothing foreign was removed, changed or added.\n"))

    def test_takes_answers_as_an_option_or_as_input(self):
        # Yes, but the folder stays; the shell's settings are reset. The last one fits no button.
        expected = ["-> yes", "-> no", "-> yes"]
        for options, given in ((["--answers", "yes,Nein,,n"], None), ([], "j\nNO\n\nnein\n")):
            with self.subTest(options=options):
                subprocess.run(["rm", "-r", self.sandbox], check=True)
                run = self.start(*options, stdin=subprocess.PIPE)
                output, errors = run.communicate(given)
                self.assertEqual((run.returncode, errors), (0, ""))
                answers = [line[line.rindex("->"):] for line in output.split("\n\n")[0].split("\n")
                           if "? -> " in line]
                self.assertEqual(answers, expected, output)

    def test_refuses_a_damaged_sandbox_in_one_sentence(self):
        for name, old in ("registry.reg", '@="Tessorin.Text"'), ("machine.ini", "sid="):
            with self.subTest(name):
                line = self.change(name, old, old[:-1])
                run = self.start()
                output, errors = run.communicate()
                self.assertEqual((run.returncode, output, errors.count("\n")), (2, "", 1), errors)
                self.assertIn(f"{name}, line {line}: ", errors)
                self.change(name, old[:-1], old)
        os.mkdir(self.path("transcript.txt"))
        run = self.start()
        output, errors = run.communicate()
        self.assertEqual((run.returncode, output, errors.count("\n")), (2, "", 1), errors)
        self.assertFalse(os.path.exists(self.path("answers.txt")))


unittest.main()
