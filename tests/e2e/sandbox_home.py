"""A sandbox product home for the scripts that run many puts on one home: the
agent's directory with its management-agent settings, one SQL Server home
(sql/MSSQL with its server program and error log) and an instance-creation
tool installed as InstallORV/vinconfg."""
import os
import shutil


def prepare(home, tool, wine=False):
    """Fills `home` (a path ending in "/"); answers the SQL Server home as the
    program sees it (with backslashes; under Wine on drive Z:)."""
    for directory in ("ORVAGT6_x64/logs", "InstallORV", "sql/MSSQL/Binn", "sql/MSSQL/Log"):
        os.makedirs(os.path.join(home, directory))
    for name in ("sql/MSSQL/Binn/sqlservr.exe", "sql/MSSQL/Log/ERRORLOG"):
        with open(os.path.join(home, name), "w") as f:
            f.write("x")
    with open(os.path.join(home, "ORVAGT6_x64", "vsqmma.ini"), "w") as f:
        f.write("[Local Settings]\nCOLL_TRACE=ERROR\n")
    target = os.path.join(home, "InstallORV", "vinconfg.exe" if wine else "vinconfg")
    shutil.copyfile(os.path.abspath(tool), target)
    os.chmod(target, 0o755)
    return ("Z:" if wine else "") + home.replace("/", "\\") + "sql\\MSSQL"
