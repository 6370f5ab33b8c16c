<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<context>
    <name>Engine</name>
    <message numerus="yes">
        <source>Printing, %Ln label(s)</source>
        <translation>
            <numerusform>Printing, %Ln label</numerusform>
            <numerusform>Printing, %Ln labels</numerusform>
        </translation>
    </message>
</context>
</TS>
