#include "Xml_scan.h"

class Xml_scan_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void references_are_counted_and_those_in_values_noted()
    {
        const Xml_demand demand = scan_xml(
            QStringLiteral("<!DOCTYPE a [<!ENTITY b 'c'>]><a d='&b;'>&b;&e;<f>&b;</f></a>"));
        QCOMPARE(demand.references,
                 (QHash<QString, int>{{QStringLiteral("b"), 3}, {QStringLiteral("e"), 1}}));
        QCOMPARE(demand.references_in_values, QSet<QString>{QStringLiteral("b")});
    }

    void what_is_no_markup_counts_for_nothing()
    {
        const Xml_demand demand = scan_xml(
            QStringLiteral("<a><!-- &b; '' --><?c &b; ''?><![CDATA[&b;<d e='' f=''/>]]></a>"));
        QCOMPARE(demand.references, (QHash<QString, int>()));
        QCOMPARE(demand.values, 0);
    }

    void what_is_no_markup_can_follow_without_a_blank()
    {
        const Xml_demand demand = scan_xml(QStringLiteral(
            "<a><?b?><?c d=''?><!----><!-- '' --><![CDATA[]]><![CDATA['']]><?e?></a>"));
        QCOMPARE(demand.values, 0);
    }

    void values_are_those_of_the_tag_that_has_most()
    {
        QCOMPARE(scan_xml(QStringLiteral("<a b='' c=\"\"/><d e='' f='' g=''/>")).values, 3);
    }

    void declarations_and_their_references_are_values_too()
    {
        const Xml_demand demand =
            scan_xml(QStringLiteral("<!DOCTYPE a [<!ENTITY b 'c'><!ENTITY d '&b;&b;'>]><a e=''/>"));
        QCOMPARE(demand.values, 4);
        QCOMPARE(demand.references, (QHash<QString, int>()));
    }

    void what_is_no_declaration_in_a_document_type_counts_for_nothing()
    {
        const Xml_demand demand =
            scan_xml(QStringLiteral("<!DOCTYPE a [<?e 'f' #g %h; >?> <!-- 'b' #c %d; > -->]><a/>"));
        QCOMPARE(demand.values, 0);
        QCOMPARE(demand.declared_references, 0);
    }

    /// A declaration of one counts as well.
    void references_to_parameter_entities_are_counted_apart()
    {
        const Xml_demand demand = scan_xml(
            QStringLiteral("<!DOCTYPE a [<!ENTITY % b ' '>%b;%b;<!ATTLIST a c CDATA '&d;'>]><a/>"));
        QCOMPARE(demand.declared_references, 4);
        QCOMPARE(demand.values, 6);
    }

    /// Four signs of parameters, four values and a word on the spot, eight within: a character by
    /// its number may be one of theirs.
    void values_within_an_entity_count_for_each_parameter()
    {
        const Xml_demand demand = scan_xml(QStringLiteral(
            "<!DOCTYPE a [<!ENTITY % b \"<!ATTLIST a c CDATA 'd' e ID #IMPLIED>\">%b;"
            "<!ENTITY % f '<!ATTLIST a g CDATA \"h\" i ID #IMPLIED j ID #REQUIRED>'>%f;"
            "<!ATTLIST a k CDATA '&l;&#32;' m ID #IMPLIED n CDATA ''>]><a/>"));
        QCOMPARE(demand.declared_references, 5);
        QCOMPARE(demand.values, 5 + 5 + 8 * 4);
    }
};

QTEST_GUILESS_MAIN(Xml_scan_test)
#include "xml_scan.moc"
