# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
#
# What tools/recording types, in a folder with the schema Acme.mof of docs/generator.md.
velmar new switches --schema Acme.mof --class ACME_Switch ACME_Port --cpp-namespace acme | head -n 6
cd switches
cmake -B build > build.log && cmake --build build >> build.log && tail -n 1 build.log
ctest --test-dir build | grep 'tests passed'
sed -i 's|.*add(one);.*|    ACME_Switch one("S1"); one.Temperature = 21; add(one);|' src/ACME_SwitchProvider.cpp
cmake --build build > build.log && velmar check .
velmar serve . --port 5988 &
wbemcli gi 'http://127.0.0.1:5988/root/velmar_remote:ACME_Switch.Serial="S1"'
