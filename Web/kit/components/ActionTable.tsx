import type { ComponentChildren } from "preact";

interface ActionTableProps {
  readonly columns: readonly string[];
  /** Names the last column, which holds the actions of each row, to those who do not see it. */
  readonly actions: string;
  readonly children: ComponentChildren;
}

/** Rows with actions; a list of cards on a narrow screen, where cells name themselves by `data-label`. */
export function ActionTable({ columns, actions, children }: ActionTableProps) {
  return (
    <div class="oxa-table-frame">
      <table class="oxa-table" data-stacked="true">
        <thead>
          <tr>
            {columns.map((column) => (
              <th key={column} scope="col">
                {column}
              </th>
            ))}
            <th scope="col">
              <span class="oxa-hidden">{actions}</span>
            </th>
          </tr>
        </thead>
        <tbody>{children}</tbody>
      </table>
    </div>
  );
}
