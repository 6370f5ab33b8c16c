<?xml version="1.0" encoding="UTF-8"?>
<!-- SPDX-License-Identifier: MIT -->
<!-- Copies the description of an interface with only the first of the methods that share a name:
     gdbus-codegen makes code that does not compile of the others. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:template match="@* | node()">
    <xsl:copy><xsl:apply-templates select="@* | node()"/></xsl:copy>
  </xsl:template>
  <xsl:template match="method[@name = preceding-sibling::method/@name]"/>
</xsl:stylesheet>
