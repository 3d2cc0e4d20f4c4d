"""Three small products. Anvil and Bellows are of the own family and share a folder and a key; Cooper is
another maker's. Each comes with what its descriptor removes, and with what it leaves."""
from machine import BUILD, REPORTS, is_in
from shortcut import shortcut

SWEEP = "C:\\prodsweep"
SERVICE = "SmithyForge"
APP = "C:\\Program Files\\Smithy\\"
MENU = "C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs\\Smithy\\"
SHARED_FOLDER = "C:/Program Files/Common Files/Smithy/Shared"
SHARED_KEY = "HKLM/Software/Smithy/Shared"
_UNINSTALL = "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall"

FILES = {
    f"{APP}Anvil\\anvil.exe": "anvil", f"{APP}Anvil\\help\\index.txt": "index", f"{APP}Anvil\\help\\more\\page.txt": "",
    f"{APP}Bellows\\bellows.exe": "bellows", f"{APP}Bellows\\plans\\large.txt": "large",
    "C:\\Program Files\\Common Files\\Smithy\\Shared\\tongs.dat": "tongs",
    "C:\\Program Files\\Common Files\\Smithy\\Shared\\fonts\\one.fon": "one",
    "C:\\ProgramData\\Smithy\\anvil.log": "log", "C:\\ProgramData\\Smithy\\bellows.log": "log",
    "C:\\ProgramData\\Smithy\\drawing.txt": "the user's own",
    f"{MENU}Anvil.lnk": shortcut(f"{APP}Anvil\\anvil.exe"), f"{MENU}Bellows.lnk": shortcut(f"{APP}Bellows\\bellows.exe"),
    f"{MENU}Elsewhere.lnk": shortcut("C:\\Program Files\\Elsewhere\\anvil.exe"),
    "C:\\Program Files\\Cooper\\cooper.exe": "cooper", "C:\\Program Files\\Cooper\\staves\\oak.txt": "oak",
    "C:\\Program Files\\Cooperage\\neighbour.txt": "not Cooper's",
}

REGISTRY = rf"""
[HKEY_LOCAL_MACHINE\Software\Smithy\Anvil]
"Folder"="C:\\Program Files\\Smithy\\Anvil"
[HKEY_LOCAL_MACHINE\Software\Smithy\Anvil\UpdateLocation]
"Path"="here"
[HKEY_LOCAL_MACHINE\Software\Smithy\Bellows]
"Folder"="C:\\Program Files\\Smithy\\Bellows"
[HKEY_LOCAL_MACHINE\Software\Smithy\Bellows\UpdateLocation]
"Path"="here"
[HKEY_LOCAL_MACHINE\Software\Smithy\Shared]
"Words"="words"
[HKEY_LOCAL_MACHINE\Software\Smithy\Shared\Deep]
"Number"=dword:00000007
[HKEY_LOCAL_MACHINE\Software\Smithy\Shared\Empty]
[HKEY_LOCAL_MACHINE\Software\Smithy\Family]
"Anvil"="3"
"Bellows"="2"
"Owner"="nobody"
[HKEY_LOCAL_MACHINE\Software\Wow6432Node\Smithy\Anvil]
"View"="32"
[HKEY_LOCAL_MACHINE\Software\Wow6432Node\Smithy\Bellows]
"View"="32"
[HKEY_LOCAL_MACHINE\Software\Wow6432Node\Smithy\Shared]
"View"="32"
[HKEY_CURRENT_USER\Software\Smithy\Anvil]
"Window"=hex:01,02,03
[HKEY_LOCAL_MACHINE\Software\Microsoft\Windows\CurrentVersion\Run]
"Anvil"="anvil.exe"
[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Services\{SERVICE}]
"ErrorControl"=dword:00000001
"ImagePath"="C:\\smithy\\forge.exe {SERVICE} stops"
"ObjectName"="LocalSystem"
"PreshutdownTimeout"=dword:0002bf20
"Start"=dword:00000002
"Type"=dword:00000010
[HKEY_LOCAL_MACHINE\{_UNINSTALL}\Cooper 3]
"DisplayName"="Cooper 3"
[HKEY_LOCAL_MACHINE\Software\Cooper]
"Folder"="C:\\Program Files\\Cooper"
[HKEY_LOCAL_MACHINE\Software\Cooper\Casks]
@="two"
[HKEY_LOCAL_MACHINE\Software\Cooperage]
@="not Cooper's"
[HKEY_LOCAL_MACHINE\Software\Wow6432Node\Cooper]
"View"="32"
"""

# What goes with each product, and nothing else does: not the folders and keys above, not the drawing, not
# the 32-bit keys that no descriptor names, not the service's program.
GOES = {
    "Anvil": ["C:/Program Files/Smithy/Anvil", "C:/ProgramData/Smithy/anvil.log",
              MENU.replace("\\", "/") + "Anvil.lnk", "HKLM/Software/Smithy/Anvil",
              'HKLM/Software/Smithy/Family = "Anvil"', "HKLM/Software/Wow6432Node/Smithy/Anvil",
              "HKCU/Software/Smithy/Anvil", 'HKLM/Software/Microsoft/Windows/CurrentVersion/Run = "Anvil"',
              f"HKLM/System/CurrentControlSet/Services/{SERVICE}"],
    "Bellows": ["C:/Program Files/Smithy/Bellows", "C:/ProgramData/Smithy/bellows.log",
                MENU.replace("\\", "/") + "Bellows.lnk", "HKLM/Software/Smithy/Bellows",
                'HKLM/Software/Smithy/Family = "Bellows"'],
    "Cooper": ["C:/Program Files/Cooper", "HKLM/Software/Cooper",
               "HKLM/Software/Microsoft/Windows/CurrentVersion/Uninstall/Cooper 3"],
}
SHARED = [SHARED_FOLDER, SHARED_KEY]

_ANVIL = rf"""<uninstall_information><version_list><v3/></version_list><v3>
<app_path key="HKLM\Software\Smithy\Anvil" name="Folder"/>
<win_nt>
<keys op_code="del_regkey">
  <k name="HKLM\Software\Smithy\Anvil"/><k name="HKLM\Software\Wow6432Node\Smithy\Anvil"/>
  <k name="HKCU\Software\Smithy\Anvil"/><k name="HKEY_LOCAL_MACHINE\Software\Smithy\Shared"/>
  <k name="HKLM\System\CurrentControlSet\Services\{SERVICE}"/>
</keys>
<values op_code="del_regvalue">
  <v key_path="HKLM\Software\Smithy\Family" name="Anvil"/>
  <v key_path="HKLM\Software\Microsoft\Windows\CurrentVersion\Run" name="Anvil"/>
</values>
<files op_code="del_file"><f path="common_app_data" name="Smithy\anvil.log"/></files>
<folders op_code="del_folder"><f path="app_path"/><f path="common_files" name="Smithy\Shared"/></folders>
<links op_code="del_shortcut">
  <l rel_shortcut="common_start_menu_programs" path="Smithy" rel_target="app_path" target_name="anvil.exe"/>
</links>
<services op_code="disableandstop_service"><s name="{SERVICE}"/></services>
</win_nt></v3></uninstall_information>"""

_BELLOWS = r"""<uninstall_information><version_list><v2/></version_list><v2>
<app_path key="HKLM\Software\Smithy\Bellows" name="Folder"/>
<win_nt>
<folders op_code="del_folder"><f path="app_path"/><f path="common_files" name="Smithy\Shared"/></folders>
<files op_code="del_file"><f path="common_app_data" name="Smithy\bellows.log"/></files>
<links op_code="del_shortcut">
  <l rel_shortcut="common_start_menu_programs" path="Smithy" target_name="bellows.exe"/>
</links>
<keys op_code="del_regkey">
  <k name="HKLM\Software\Smithy\Bellows"/><k name="HKEY_LOCAL_MACHINE\Software\Smithy\Shared"/>
</keys>
<values op_code="del_regvalue"><v key_path="HKLM\Software\Smithy\Family" name="Bellows"/></values>
</win_nt></v2></uninstall_information>"""

_COOPER = rf"""<uninstall_information><version_list><v3/></version_list><v3 mandatory_sections="all">
<app_path key="HKLM\Software\Cooper" name="Folder"/>
<win_nt>
<files op_code="del_file" minimum_score="1"><f path="app_path" name="cooper.exe" mandatory="yes"/></files>
<folders op_code="del_folder" minimum_score="1"><f path="app_path"/></folders>
<keys op_code="del_regkey" minimum_score="1">
  <k name="HKLM\Software\Cooper"/><k name="HKLM\{_UNINSTALL}\Cooper 3"/>
</keys>
</win_nt></v3></uninstall_information>"""


def _catalogue(*products):
    return f"<uninstall_information><exec_all>false</exec_all>{''.join(products)}</uninstall_information>"


def _own(name):
    return (f'<product name="{name}" file="{name}.xml">'
            f'<version name="1" keypath="HKLM\\Software\\Smithy\\{name}" keyvalue="Path"/></product>')


def place_sweeper(machine, folder=SWEEP):
    """The program and the library, without catalogues."""
    for file in ["prodsweep.exe", "prodsweep.dll"]:
        machine.copy(f"{folder}\\{file}", BUILD / "bin" / file)


def lay_out(machine):
    """All three, and the sweeper."""
    place_sweeper(machine)
    machine.write(f"{SWEEP}\\products.xml", _catalogue(_own("Anvil"), _own("Bellows")))
    machine.write(f"{SWEEP}\\detection.xml", _catalogue(
        '<product name="Cooper" file="Cooper.xml"><version name="3" prodName="Cooper 3"/></product>'))
    machine.write(f"{SWEEP}\\intern\\Anvil.xml", _ANVIL)
    machine.write(f"{SWEEP}\\intern\\Bellows.xml", _BELLOWS)
    machine.write(f"{SWEEP}\\extern\\Cooper.xml", _COOPER)
    machine.copy("C:\\smithy\\forge.exe", REPORTS / "test_service.exe")
    for path, content in FILES.items():
        machine.write(path, content)
    machine.import_registry(REGISTRY)


def left_of(installed, *removed, sharing_stays):
    """The state that the removal of these products must leave."""
    gone = [place for product in removed for place in GOES[product]] + ([] if sharing_stays else SHARED)
    return installed.without(lambda place: any(is_in(place, root) for root in gone))
