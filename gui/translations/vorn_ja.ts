<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ja_JP">
<context>
    <name>MapView</name>
    <message>
        <source>The box file from its first byte to its last</source>
        <translation>ボックスファイルの先頭から末尾まで</translation>
    </message>
    <message>
        <source>Not placed by the header or the chain</source>
        <translation>ヘッダーにもチェーンにも置かれていないバイト</translation>
    </message>
    <message>
        <source>Box header</source>
        <translation>ボックスヘッダー</translation>
    </message>
    <message>
        <source>Default offset table</source>
        <translation>既定のオフセットテーブル</translation>
    </message>
    <message>
        <source>Item info</source>
        <translation>アイテム情報</translation>
    </message>
    <message>
        <source>Sound card</source>
        <translation>正常なカード</translation>
    </message>
    <message>
        <source>Garbage (deleted) card</source>
        <translation>ガーベージ(削除済み)カード</translation>
    </message>
    <message>
        <source>System card</source>
        <translation>システムカード</translation>
    </message>
    <message>
        <source>Offset card</source>
        <translation>オフセットカード</translation>
    </message>
    <message>
        <source>Reference index card</source>
        <translation>参照インデックスカード</translation>
    </message>
    <message>
        <source>Terminator</source>
        <translation>終端</translation>
    </message>
    <message>
        <source>Damaged card</source>
        <translation>壊れたカード</translation>
    </message>
    <message>
        <source>Skipped or salvaged by the trace</source>
        <translation>トレースが飛ばした、またはサルベージした部分</translation>
    </message>
    <message>
        <source>Record found by the lost-and-found scan</source>
        <translation>遺失物スキャンで見つかったレコード</translation>
    </message>
    <message>
        <source>Behind the last card</source>
        <translation>最後のカードより後ろ</translation>
    </message>
    <message>
        <source>Analyse a box file to see its map</source>
        <translation>ボックスファイルを解析するとマップが表示されます</translation>
    </message>
    <message>
        <source>Card %1 at 0x%2, ID 0x%3, %4 bytes</source>
        <translation>カード %1 (0x%2、ID 0x%3、%4 バイト)</translation>
    </message>
    <message>
        <source>0x%1 to 0x%2, %3 bytes</source>
        <translation>0x%1 から 0x%2 まで、%3 バイト</translation>
    </message>
    <message>
        <source>(one pixel shows %1 bytes)</source>
        <translation>(1 ピクセルが %1 バイトを表します)</translation>
    </message>
</context>
<context>
    <name>RecordsModel</name>
    <message>
        <source>(missing)</source>
        <translation>(欠落)</translation>
    </message>
    <message>
        <source>(illegal time) %1</source>
        <translation>(不正な日時) %1</translation>
    </message>
    <message>
        <source>(hex) %1</source>
        <translation>(16進) %1</translation>
    </message>
    <message>
        <source>sound</source>
        <translation>正常</translation>
    </message>
    <message>
        <source>damaged</source>
        <translation>破損</translation>
    </message>
    <message>
        <source>deleted</source>
        <translation>削除済み</translation>
    </message>
    <message>
        <source>found</source>
        <translation>発見</translation>
    </message>
    <message>
        <source>Found outside the card chain by the lost-and-found scan</source>
        <translation>遺失物スキャンがカードチェーンの外で見つけたレコード</translation>
    </message>
    <message>
        <source>Card</source>
        <translation>カード</translation>
    </message>
    <message>
        <source>Offset</source>
        <translation>オフセット</translation>
    </message>
    <message>
        <source>ID</source>
        <translation>ID</translation>
    </message>
    <message>
        <source>State</source>
        <translation>状態</translation>
    </message>
    <message>
        <source>Body (hex)</source>
        <translation>本体(16進)</translation>
    </message>
    <message>
        <source>%1 (data ID %2)</source>
        <translation>%1 (データID %2)</translation>
    </message>
</context>
<context>
    <name>RecordsPage</name>
    <message>
        <source>Copy Records as &amp;CSV</source>
        <translation>レコードをCSVでコピー(&amp;C)</translation>
    </message>
    <message>
        <source>Copy Records as &amp;JSON</source>
        <translation>レコードをJSONでコピー(&amp;J)</translation>
    </message>
    <message>
        <source>Filter</source>
        <translation>絞り込み</translation>
    </message>
    <message>
        <source>Show only the records with a value that holds this text</source>
        <translation>この文字列を含む値を持つレコードだけを表示します</translation>
    </message>
    <message>
        <source>Show the deleted records the collector has not yet overwritten, apart, behind the others</source>
        <translation>コレクターがまだ上書きしていない削除済みレコードを、他のレコードの後ろに分けて表示します</translation>
    </message>
    <message>
        <source>The encoding the box&apos;s texts are read in</source>
        <translation>ボックスのテキストを読む文字コード</translation>
    </message>
    <message>
        <source>Copy the selected records as boxtool export writes them in CSV</source>
        <translation>選択したレコードを boxtool export と同じCSVでコピーします</translation>
    </message>
    <message>
        <source>Copy the selected records as boxtool export writes them in JSON</source>
        <translation>選択したレコードを boxtool export と同じJSONでコピーします</translation>
    </message>
    <message>
        <source>Unknown encoding: %1</source>
        <translation>不明な文字コード: %1</translation>
    </message>
    <message>
        <source>No box file analysed</source>
        <translation>解析したボックスファイルはありません</translation>
    </message>
    <message numerus="yes">
        <source>%n record(s)</source>
        <translation>
            <numerusform>%n 件のレコード</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 of %n record(s)</source>
        <translation>
            <numerusform>%n 件中 %1 件のレコード</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>; %n deleted hidden</source>
        <translation>
            <numerusform>、削除済み %n 件は非表示</numerusform>
        </translation>
    </message>
    <message>
        <source>De&amp;leted records</source>
        <translation>削除済みレコード(&amp;L)</translation>
    </message>
    <message>
        <source>Encodin&amp;g</source>
        <translation>文字コード(&amp;G)</translation>
    </message>
</context>
<context>
    <name>StatisticsPage</name>
    <message>
        <source>Garbage bytes</source>
        <translation>ガーベージのバイト数</translation>
    </message>
    <message>
        <source>Normal cards</source>
        <translation>通常カード</translation>
    </message>
    <message>
        <source>Least null card ID</source>
        <translation>最小の空きカードID</translation>
    </message>
    <message>
        <source>Maximum card ID</source>
        <translation>最大カードID</translation>
    </message>
    <message>
        <source>Normal</source>
        <translation>通常</translation>
    </message>
    <message>
        <source>Garbage</source>
        <translation>ガーベージ</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>エラー</translation>
    </message>
    <message>
        <source>System</source>
        <translation>システム</translation>
    </message>
    <message>
        <source>Offset cards</source>
        <translation>オフセットカード</translation>
    </message>
    <message>
        <source>Reference index card</source>
        <translation>参照インデックスカード</translation>
    </message>
    <message>
        <source>Terminator</source>
        <translation>終端</translation>
    </message>
    <message>
        <source>Analyse a box file to see its statistics</source>
        <translation>ボックスファイルを解析すると統計が表示されます</translation>
    </message>
    <message>
        <source>File</source>
        <translation>ファイル</translation>
    </message>
    <message>
        <source>Path</source>
        <translation>パス</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>サイズ</translation>
    </message>
    <message>
        <source>%1 bytes</source>
        <translation>%1 バイト</translation>
    </message>
    <message>
        <source>Problems</source>
        <translation>問題</translation>
    </message>
    <message>
        <source>%1 critical, %2 errors, %3 warnings</source>
        <translation>致命的 %1 件、エラー %2 件、警告 %3 件</translation>
    </message>
    <message>
        <source>Header totals</source>
        <translation>ヘッダーの合計値</translation>
    </message>
    <message>
        <source>stored</source>
        <translation>記録値</translation>
    </message>
    <message>
        <source>counted</source>
        <translation>計数値</translation>
    </message>
    <message>
        <source>differs</source>
        <translation>不一致</translation>
    </message>
    <message>
        <source>Cards</source>
        <translation>カード</translation>
    </message>
    <message>
        <source>count</source>
        <translation>枚数</translation>
    </message>
    <message>
        <source>bytes</source>
        <translation>バイト数</translation>
    </message>
    <message>
        <source>Compaction frees</source>
        <translation>コンパクションで空く量</translation>
    </message>
    <message>
        <source>Fields</source>
        <translation>フィールド</translation>
    </message>
    <message>
        <source>Item info at %1, %2 bytes (%3 declared), %4 fields</source>
        <translation>アイテム情報: %1、%2 バイト (宣言は %3)、フィールド %4 個</translation>
    </message>
    <message>
        <source>Data ID</source>
        <translation>データID</translation>
    </message>
    <message>
        <source>Attribute</source>
        <translation>属性</translation>
    </message>
    <message>
        <source>Tag</source>
        <translation>タグ</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名前</translation>
    </message>
    <message>
        <source>Offset table</source>
        <translation>オフセットテーブル</translation>
    </message>
    <message>
        <source>Runs</source>
        <translation>連続区間</translation>
    </message>
    <message>
        <source>%1 (the default table and %2 offset cards)</source>
        <translation>%1 (既定のテーブルとオフセットカード %2 枚)</translation>
    </message>
    <message>
        <source>IDs covered</source>
        <translation>対象のID数</translation>
    </message>
    <message>
        <source>Good entries</source>
        <translation>正しいエントリ</translation>
    </message>
    <message>
        <source>Bad entries</source>
        <translation>誤ったエントリ</translation>
    </message>
    <message>
        <source>Empty entries</source>
        <translation>空のエントリ</translation>
    </message>
    <message>
        <source>Beyond the end of the file</source>
        <translation>ファイルの末尾より後ろ</translation>
    </message>
</context>
<context>
    <name>Vorn</name>
    <message>
        <source>File error</source>
        <translation>ファイルエラー</translation>
    </message>
    <message>
        <source>Box file cannot be read.
%1
%2</source>
        <translation>ボックスファイルを読めません。
%1
%2</translation>
    </message>
    <message>
        <source>BOX file name</source>
        <translation>BOXファイル名</translation>
    </message>
    <message>
        <source>Box file shrank while it was analysed.
%1
The findings end where it was cut.</source>
        <translation>解析中にボックスファイルが縮みました。
%1
結果は切れた所までです。</translation>
    </message>
    <message>
        <source>card %1 at 0x%2</source>
        <translation>カード %1 (0x%2)</translation>
    </message>
    <message>
        <source>The box file is unchanged.</source>
        <translation>ボックスファイルは変更されていません。</translation>
    </message>
    <message>
        <source>Code %1: the box file cannot be opened or read.
%2</source>
        <translation>コード %1: ボックスファイルを開けないか、読めません。
%2</translation>
    </message>
    <message>
        <source>No finding refuses it alone: its item info does not lie wholly before the first card, or it holds more cards than a box can.</source>
        <translation>単独で拒否の原因となる項目はありません: アイテム情報が最初のカードより前に収まっていないか、カードが多すぎます。</translation>
    </message>
    <message>
        <source>Code %1: refused, the box file is damaged in a way that garbage collection cannot repair:
%2
%3
Its cards can be rescued into a new box file with
  boxtool recover BROKEN.BOX NEW.BOX
where BROKEN.BOX is %4</source>
        <translation>コード %1: ガベージコレクションでは修復できない損傷があるため、拒否されました:
%2
%3
次のコマンドでカードを新しいボックスファイルに救出できます:
  boxtool recover BROKEN.BOX NEW.BOX
BROKEN.BOX は %4 です</translation>
    </message>
    <message>
        <source>Code %1: the collected box could not be written beside it (disk full, read-only directory or I/O error).
%2</source>
        <translation>コード %1: 整理したボックスを同じ場所に書き込めませんでした (ディスクの空き不足、読み取り専用のディレクトリ、または入出力エラー)。
%2</translation>
    </message>
    <message>
        <source>Code %1: the collected box could not replace the box file.
%2</source>
        <translation>コード %1: 整理したボックスで元のボックスファイルを置き換えられませんでした。
%2</translation>
    </message>
    <message>
        <source>Code %1: another program is writing the box file; try again when it is done.
%2</source>
        <translation>コード %1: 別のプログラムがボックスファイルに書き込んでいます。終わってからやり直してください。
%2</translation>
    </message>
    <message>
        <source>Code %1: another program changed the box file while it was being collected; it is left as that program made it.</source>
        <translation>コード %1: 整理中に別のプログラムがボックスファイルを変更しました。そのプログラムが書いたままにしてあります。</translation>
    </message>
    <message>
        <source>Code %1: the box library gives no meaning for this code.</source>
        <translation>コード %1: ボックスライブラリはこのコードの意味を定めていません。</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>エラー</translation>
    </message>
    <message>
        <source>No space in %1 strage.
</source>
        <translation>%1 の空き容量が足りません。
</translation>
    </message>
    <message>
        <source>Confirm</source>
        <translation>確認</translation>
    </message>
    <message>
        <source>Are you sure you want
to exec garbage?</source>
        <translation>ガベージコレクションを
実行しますか?</translation>
    </message>
    <message>
        <source>Garbage collection was failed.
You should reboot.

Reboot now ?</source>
        <translation>ガベージコレクションに失敗しました。
再起動してください。

今すぐ再起動しますか?</translation>
    </message>
    <message>
        <source>Garbage collection was failed.</source>
        <translation>ガベージコレクションに失敗しました。</translation>
    </message>
    <message>
        <source>Are you sure you want
to delete Index file?

If you select NO then
contiue without deleting
 Index file</source>
        <translation>インデックスファイルを
削除しますか?

「いいえ」を選ぶと
インデックスファイルを
削除せずに続けます</translation>
    </message>
    <message>
        <source>Completed</source>
        <translation>完了</translation>
    </message>
    <message>
        <source>garbage collect is completed.
Reboot now.</source>
        <translation>ガベージコレクションが完了しました。
再起動します。</translation>
    </message>
    <message>
        <source>Box file is not found.
%1</source>
        <translation>ボックスファイルが見つかりません。
%1</translation>
    </message>
    <message>
        <source>Selected Application is set FastLoad.
Please unset fastload.</source>
        <translation>選択したアプリケーションは高速起動に設定されています。
高速起動を解除してください。</translation>
    </message>
    <message>
        <source>BXDFileCheck Start</source>
        <translation>BXDFileCheck 開始</translation>
    </message>
    <message>
        <source>No Error</source>
        <translation>エラーなし</translation>
    </message>
    <message>
        <source>Recover...</source>
        <translation>復旧...</translation>
    </message>
    <message>
        <source>Rescue the records of this box into a new box file; this one is only read</source>
        <translation>このボックスのレコードを新しいボックスファイルに救出します。このファイルは読むだけです</translation>
    </message>
</context>
<context>
    <name>VornBase</name>
    <message>
        <source>Vorn2</source>
        <translation>Vorn2</translation>
    </message>
    <message>
        <source>Garbage Collection</source>
        <translation>ガベージコレクション</translation>
    </message>
    <message>
        <source>delete Index File</source>
        <translation>インデックスファイルを削除</translation>
    </message>
    <message>
        <source>Exec</source>
        <translation>実行</translation>
    </message>
    <message>
        <source>Collect the garbage of the selected box file, then restart</source>
        <translation>選択したボックスファイルのゴミを整理し、再起動します</translation>
    </message>
    <message>
        <source>Application</source>
        <translation>アプリケーション</translation>
    </message>
    <message>
        <source>Storage</source>
        <translation>保存先</translation>
    </message>
    <message>
        <source>Analyse only: hide garbage collection</source>
        <translation>解析のみ: ガベージコレクションを隠す</translation>
    </message>
    <message>
        <source>Analyze</source>
        <translation>解析</translation>
    </message>
    <message>
        <source>Index</source>
        <translation>インデックス</translation>
    </message>
    <message>
        <source>ID</source>
        <translation>ID</translation>
    </message>
    <message>
        <source>Context</source>
        <translation>内容</translation>
    </message>
    <message>
        <source>Verbose</source>
        <translation>詳細</translation>
    </message>
    <message>
        <source>Noisy</source>
        <translation>全カード</translation>
    </message>
    <message>
        <source>Debug</source>
        <translation>デバッグ</translation>
    </message>
    <message>
        <source>BXD</source>
        <translation>BXD</translation>
    </message>
    <message>
        <source>Analyse the selected box file and list its findings</source>
        <translation>選択したボックスファイルを解析し、結果を一覧表示します</translation>
    </message>
    <message>
        <source>After collecting, also delete the box&apos;s index files (after a question)</source>
        <translation>整理の後、ボックスのインデックスファイルも削除します (確認の後)</translation>
    </message>
    <message>
        <source>List the box&apos;s structures as well as its problems</source>
        <translation>問題だけでなく、ボックスの構造も一覧表示します</translation>
    </message>
    <message>
        <source>List every card, also the cards without findings</source>
        <translation>問題のないカードも含め、すべてのカードを一覧表示します</translation>
    </message>
    <message>
        <source>Write the analysis&apos; debug lines and a copy of the findings to standard error</source>
        <translation>解析のデバッグ行と結果の写しを標準エラー出力に書き出します</translation>
    </message>
    <message>
        <source>Run the box library&apos;s own check instead of the analysis</source>
        <translation>解析の代わりにボックスライブラリ自身の検査を実行します</translation>
    </message>
</context>
<context>
    <name>VornWindow</name>
    <message>
        <source>Cancel</source>
        <translation>取り消し</translation>
    </message>
    <message>
        <source>Stop waiting for the analysis (Escape)</source>
        <translation>解析を待つのをやめます (Escape)</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>ファイル(&amp;F)</translation>
    </message>
    <message>
        <source>&amp;Open...</source>
        <translation>開く(&amp;O)...</translation>
    </message>
    <message>
        <source>Open &amp;Recent</source>
        <translation>最近使ったファイル(&amp;R)</translation>
    </message>
    <message>
        <source>&amp;Save Findings...</source>
        <translation>結果を保存(&amp;S)...</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>終了(&amp;Q)</translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation>編集(&amp;E)</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>コピー(&amp;C)</translation>
    </message>
    <message>
        <source>Copy the selected rows, or every row when none is selected</source>
        <translation>選択した行を、選択がなければすべての行をコピーします</translation>
    </message>
    <message>
        <source>Copy &amp;All</source>
        <translation>すべてコピー(&amp;A)</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>ヘルプ(&amp;H)</translation>
    </message>
    <message>
        <source>vorn &amp;Manual</source>
        <translation>vorn マニュアル(&amp;M)</translation>
    </message>
    <message>
        <source>&amp;About vorn</source>
        <translation>vorn について(&amp;A)</translation>
    </message>
    <message>
        <source>1 critical</source>
        <translation>致命的 1 件</translation>
    </message>
    <message>
        <source>%1 critical</source>
        <translation>致命的 %1 件</translation>
    </message>
    <message>
        <source>1 error</source>
        <translation>エラー 1 件</translation>
    </message>
    <message>
        <source>%1 errors</source>
        <translation>エラー %1 件</translation>
    </message>
    <message>
        <source>1 warning</source>
        <translation>警告 1 件</translation>
    </message>
    <message>
        <source>%1 warnings</source>
        <translation>警告 %1 件</translation>
    </message>
    <message>
        <source>no problems found</source>
        <translation>問題は見つかりませんでした</translation>
    </message>
    <message>
        <source>, </source>
        <translation>、</translation>
    </message>
    <message>
        <source>%1 - %2</source>
        <translation>%1 - %2</translation>
    </message>
    <message>
        <source>%1: %2 bytes, %3 cards</source>
        <translation>%1: %2 バイト、カード %3 枚</translation>
    </message>
    <message>
        <source>Analysis cancelled</source>
        <translation>解析を取り消しました</translation>
    </message>
    <message>
        <source>&amp;Clear Menu</source>
        <translation>一覧を消去(&amp;C)</translation>
    </message>
    <message>
        <source>Text, as the list shows them (*.txt)</source>
        <translation>テキスト、一覧の表示どおり (*.txt)</translation>
    </message>
    <message>
        <source>NDJSON, as boxtool check --json writes them (*.ndjson)</source>
        <translation>NDJSON、boxtool check --json の出力どおり (*.ndjson)</translation>
    </message>
    <message>
        <source>Save Findings</source>
        <translation>結果を保存</translation>
    </message>
    <message>
        <source>The findings could not be saved.
%1
%2</source>
        <translation>結果を保存できませんでした。
%1
%2</translation>
    </message>
    <message>
        <source>Findings saved to %1</source>
        <translation>結果を %1 に保存しました</translation>
    </message>
    <message>
        <source>The manual is the manual page vorn(1): man vorn</source>
        <translation>マニュアルはマニュアルページ vorn(1) です: man vorn</translation>
    </message>
    <message>
        <source>vorn Manual</source>
        <translation>vorn マニュアル</translation>
    </message>
    <message>
        <source>About vorn</source>
        <translation>vorn について</translation>
    </message>
    <message>
        <source>&lt;h3&gt;vorn %1&lt;/h3&gt;&lt;p&gt;Analyses and compacts the record databases (box files) of a Qtopia handheld.&lt;/p&gt;&lt;p&gt;Copyright 2026 the vorn authors.&lt;br&gt;Released under the MIT licence.&lt;/p&gt;</source>
        <translation>&lt;h3&gt;vorn %1&lt;/h3&gt;&lt;p&gt;Qtopia 携帯端末の記録データベース (ボックスファイル) を解析し、整理します。&lt;/p&gt;&lt;p&gt;Copyright 2026 the vorn authors.&lt;br&gt;MIT ライセンスで配布されています。&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&amp;Export Records...</source>
        <translation>レコードを書き出す(&amp;E)...</translation>
    </message>
    <message>
        <source>Write the records of the box file as JSON or CSV, as boxtool export does</source>
        <translation>boxtool export と同じように、ボックスファイルのレコードをJSONかCSVで書き出します</translation>
    </message>
    <message>
        <source>Vie&amp;w</source>
        <translation>表示(&amp;W)</translation>
    </message>
    <message>
        <source>&amp;Tools</source>
        <translation>ツール(&amp;T)</translation>
    </message>
    <message>
        <source>&amp;Recover...</source>
        <translation>復旧(&amp;R)...</translation>
    </message>
    <message>
        <source>Write a new, sound box from everything in a damaged box that can be read, as boxtool recover does</source>
        <translation>boxtool recover と同じように、壊れたボックスの読める部分すべてから新しい正常なボックスを書きます</translation>
    </message>
    <message>
        <source>&amp;Compact...</source>
        <translation>コンパクション(&amp;C)...</translation>
    </message>
    <message>
        <source>Drop the deleted cards with the box library&apos;s collector, as boxtool compact does, after showing what it would drop</source>
        <translation>捨てるものを先に示してから、boxtool compact と同じようにボックスライブラリのコレクターで削除済みカードを捨てます</translation>
    </message>
    <message>
        <source>Records</source>
        <translation>レコード</translation>
    </message>
    <message>
        <source>Statistics</source>
        <translation>統計</translation>
    </message>
    <message>
        <source>Map</source>
        <translation>マップ</translation>
    </message>
    <message>
        <source>Loading the records and the map of %1 was cancelled</source>
        <translation>%1 のレコードとマップの読み込みを取り消しました</translation>
    </message>
    <message>
        <source>The records of %1 cannot be read: %2</source>
        <translation>%1 のレコードを読めません: %2</translation>
    </message>
    <message>
        <source>Records of %1</source>
        <translation>%1 のレコード</translation>
    </message>
    <message>
        <source>Map of %1</source>
        <translation>%1 のマップ</translation>
    </message>
    <message>
        <source>Statistics of %1</source>
        <translation>%1 の統計</translation>
    </message>
    <message>
        <source>Add the deleted records the collector has not yet overwritten</source>
        <translation>コレクターがまだ上書きしていない削除済みレコードも含める</translation>
    </message>
    <message>
        <source>&amp;Format</source>
        <translation>形式(&amp;F)</translation>
    </message>
    <message>
        <source>&amp;Encoding</source>
        <translation>文字コード(&amp;E)</translation>
    </message>
    <message>
        <source>Export Records</source>
        <translation>レコードの書き出し</translation>
    </message>
    <message>
        <source>The records of %1, as boxtool export writes them.</source>
        <translation>boxtool export と同じ形で書き出す %1 のレコード。</translation>
    </message>
    <message>
        <source>&amp;Export...</source>
        <translation>書き出す(&amp;E)...</translation>
    </message>
    <message>
        <source>Unknown encoding: %1</source>
        <translation>不明な文字コード: %1</translation>
    </message>
    <message>
        <source>CSV (*.csv)</source>
        <translation>CSV (*.csv)</translation>
    </message>
    <message>
        <source>JSON (*.json)</source>
        <translation>JSON (*.json)</translation>
    </message>
    <message>
        <source>%1 is the box itself; the box is never written.</source>
        <translation>%1 はボックスそのものです。ボックスに書き込むことはありません。</translation>
    </message>
    <message>
        <source>Export cancelled; nothing was written</source>
        <translation>書き出しを取り消しました。何も書いていません</translation>
    </message>
    <message>
        <source>The records could not be exported.
%1
%2</source>
        <translation>レコードを書き出せませんでした。
%1
%2</translation>
    </message>
    <message>
        <source>Records exported to %1</source>
        <translation>レコードを %1 に書き出しました</translation>
    </message>
    <message>
        <source>Records exported to %1; some are damaged or have values missing</source>
        <translation>レコードを %1 に書き出しました。壊れたレコードか値の欠けたレコードがあります</translation>
    </message>
    <message>
        <source>Restore the deleted records that still decode, with free IDs</source>
        <translation>まだ読める削除済みレコードを、空いているIDで復元する</translation>
    </message>
    <message>
        <source>Recover</source>
        <translation>復旧</translation>
    </message>
    <message>
        <source>Writes a new, sound box file from every record of %1 whose own bytes are whole. The damaged box is only read.</source>
        <translation>%1 のレコードのうち、自身のバイトが揃っているものすべてから新しい正常なボックスファイルを書きます。壊れたボックスは読むだけです。</translation>
    </message>
    <message>
        <source>&amp;Choose the New File...</source>
        <translation>新しいファイルを選ぶ(&amp;C)...</translation>
    </message>
    <message>
        <source>Recover into a New Box File</source>
        <translation>新しいボックスファイルへ復旧</translation>
    </message>
    <message>
        <source>Box files (*.box *.BOX)</source>
        <translation>ボックスファイル (*.box *.BOX)</translation>
    </message>
    <message>
        <source>%1 is the damaged box itself. Choose a new file: the damaged box is never written.</source>
        <translation>%1 は壊れたボックスそのものです。新しいファイルを選んでください。壊れたボックスに書き込むことはありません。</translation>
    </message>
    <message>
        <source>Recover cancelled; nothing was written</source>
        <translation>復旧を取り消しました。何も書いていません</translation>
    </message>
    <message>
        <source>The box could not be recovered.
%1: %2</source>
        <translation>ボックスを復旧できませんでした。
%1: %2</translation>
    </message>
    <message>
        <source>ID %1: %2</source>
        <translation>ID %1: %2</translation>
    </message>
    <message>
        <source>%1 more that the header counts, named nowhere</source>
        <translation>ヘッダーが数えているが、どこにも名前のない %1 件</translation>
    </message>
    <message>
        <source>found at %1, ID %2</source>
        <translation>%1 で発見、ID %2</translation>
    </message>
    <message>
        <source>card %1 at %2, ID %3</source>
        <translation>カード %1 (%2、ID %3)</translation>
    </message>
    <message>
        <source>: kept whole by its own bytes</source>
        <translation>: 自身のバイトでそのまま保持</translation>
    </message>
    <message>
        <source>: now ID %1</source>
        <translation>: 新しいID %1</translation>
    </message>
    <message>
        <source>: restored as ID %1</source>
        <translation>: ID %1 として復元</translation>
    </message>
    <message>
        <source>: dropped, %1</source>
        <translation>: 破棄、%1</translation>
    </message>
    <message>
        <source>field table: %1</source>
        <translation>フィールドテーブル: %1</translation>
    </message>
    <message>
        <source>%1 is written: %2 bytes, no Error and no Critical.</source>
        <translation>%1 を書きました: %2 バイト、エラーも致命的な問題もありません。</translation>
    </message>
    <message>
        <source>Kept %1 records: %2 from the card chain, %3 found outside it, %4 deleted ones restored.</source>
        <translation>%1 件のレコードを保持: カードチェーンから %2 件、チェーンの外で見つけたもの %3 件、復元した削除済みレコード %4 件。</translation>
    </message>
    <message>
        <source>The box claims %1 records by its header and %2 IDs in all; %3 of them are missing.</source>
        <translation>ボックスはヘッダーで %1 件のレコード、合わせて %2 個のIDを持つとしています。そのうち %3 件が欠けています。</translation>
    </message>
    <message>
        <source>Bytes lost: %1</source>
        <translation>失われたバイト数: %1</translation>
    </message>
    <message>
        <source>Recovered</source>
        <translation>復旧しました</translation>
    </message>
    <message>
        <source>&amp;Open the New Box</source>
        <translation>新しいボックスを開く(&amp;O)</translation>
    </message>
    <message>
        <source>Compact</source>
        <translation>コンパクション</translation>
    </message>
    <message>
        <source>The box file cannot be read.
%1
%2</source>
        <translation>ボックスファイルを読めません。
%1
%2</translation>
    </message>
    <message>
        <source>The collector refuses this box: %1</source>
        <translation>コレクターはこのボックスを拒否します: %1</translation>
    </message>
    <message>
        <source>Its records can be rescued into a new box file.</source>
        <translation>レコードは新しいボックスファイルに救出できます。</translation>
    </message>
    <message>
        <source>The box library&apos;s collector would do this to %1; nothing is written yet.</source>
        <translation>ボックスライブラリのコレクターは %1 に次のことを行います。まだ何も書いていません。</translation>
    </message>
    <message>
        <source>Drop %1 deleted cards (%2 bytes).</source>
        <translation>削除済みカード %1 枚 (%2 バイト) を捨てる。</translation>
    </message>
    <message>
        <source>card %1 at %2, %3 bytes</source>
        <translation>カード %1 (%2、%3 バイト)</translation>
    </message>
    <message>
        <source>cards %1 to %2 at %3, %4 bytes (empty deleted cards back to back)</source>
        <translation>カード %1～%2 (%3、%4 バイト、連続した空の削除カード)</translation>
    </message>
    <message>
        <source>Add the missing terminator.</source>
        <translation>欠けている終端を加える。</translation>
    </message>
    <message>
        <source>%1 bytes before, %2 bytes after.</source>
        <translation>前 %1 バイト、後 %2 バイト。</translation>
    </message>
    <message>
        <source>Keep the old box as %1 (it exists, and is never replaced)</source>
        <translation>古いボックスを %1 として残す (既にあり、置き換えることはありません)</translation>
    </message>
    <message>
        <source>Keep the old box as %1</source>
        <translation>古いボックスを %1 として残す</translation>
    </message>
    <message>
        <source>&amp;Compact</source>
        <translation>コンパクション(&amp;C)</translation>
    </message>
    <message>
        <source>The backup could not be written; the box is unchanged.
%1
%2</source>
        <translation>バックアップを書けませんでした。ボックスは変わっていません。
%1
%2</translation>
    </message>
    <message>
        <source>The box could not be compacted.</source>
        <translation>ボックスをコンパクションできませんでした。</translation>
    </message>
    <message>
        <source>The collector was aborted by a signal.</source>
        <translation>コレクターはシグナルで中断されました。</translation>
    </message>
    <message>
        <source>%1 is compacted: %2 deleted cards dropped, %3 bytes now.</source>
        <translation>%1 をコンパクションしました: 削除済みカード %2 枚を捨て、現在 %3 バイトです。</translation>
    </message>
    <message>
        <source>The old box is kept as %1.</source>
        <translation>古いボックスは %1 として残っています。</translation>
    </message>
    <message>
        <source>Missing:</source>
        <translation>欠けているレコード:</translation>
    </message>
    <message>
        <source>Cards kept whole, renumbered, restored or dropped:</source>
        <translation>そのまま保持、番号の付け直し、復元、破棄したカード:</translation>
    </message>
</context>
<context>
    <name>boxFileSelecter</name>
    <message>
        <source>Calendar</source>
        <translation>カレンダー</translation>
    </message>
    <message>
        <source>AddressBook</source>
        <translation>アドレス帳</translation>
    </message>
    <message>
        <source>TodoList</source>
        <translation>ToDoリスト</translation>
    </message>
    <message>
        <source>TextEditor</source>
        <translation>テキストエディタ</translation>
    </message>
    <message>
        <source>EMail inbox</source>
        <translation>メール受信箱</translation>
    </message>
    <message>
        <source>EMail outbox</source>
        <translation>メール送信箱</translation>
    </message>
    <message>
        <source>Other Boxes</source>
        <translation>その他のボックス</translation>
    </message>
    <message>
        <source>Main</source>
        <translation>本体</translation>
    </message>
    <message>
        <source>SD</source>
        <translation>SD</translation>
    </message>
    <message>
        <source>CF</source>
        <translation>CF</translation>
    </message>
    <message>
        <source>Open box file</source>
        <translation>ボックスファイルを開く</translation>
    </message>
    <message>
        <source>Box files (*.box *.BOX);;All files (*)</source>
        <translation>ボックスファイル (*.box *.BOX);;すべてのファイル (*)</translation>
    </message>
    <message>
        <source>No other box files in %1</source>
        <translation>%1 にほかのボックスファイルはありません</translation>
    </message>
    <message>
        <source>Open box file...</source>
        <translation>ボックスファイルを開く...</translation>
    </message>
</context>
</TS>
